#include "server/app/LoopCall.hpp"

#include "core/http/CurlEasy.hpp"
#include "core/support/CompactJSON.hpp"
#include "server/mcp/ProgressNotifier.hpp"


namespace tessaline {
namespace {

// The JSON text of params._meta.progressToken when it is a string or a number, else empty.
std::string progressTokenOf(const JSONRPCMessage& message) {
    const auto& token = message.progressToken;
    const bool stringOrNumber = !token.empty() && (token[0] == '"' || token[0] == '-' || (token[0] >= '0' && token[0] <= '9'));
    return stringOrNumber ? token : std::string();
}

// Holds an exchange slot for its lifetime.
class SlotHold {
public:
    explicit SlotHold(ExchangeSlots& slots) : held(slots) {}
    ~SlotHold() { held.release(); }
    SlotHold(const SlotHold&) = delete;
    SlotHold& operator=(const SlotHold&) = delete;

private:
    ExchangeSlots& held;
};

}  // namespace

LoopCall::LoopCall(JSONRPCMessage request, WorkspaceQueue& workspace, ExchangeSlots& slots, ReplyWriter& writer,
                   ResponseRouter& responses)
    : message(std::move(request)),
      workspaceQueue(workspace),
      exchangeSlots(slots),
      replies(writer),
      router(responses),
      progressToken(progressTokenOf(message)) {}

void LoopCall::holdReading(int input, std::function<void()> handOff) {
    watchedInput = input;
    readingHandOff = std::move(handOff);
}

void LoopCall::handReadingOn() {
    if (!readingHandOff) return;
    const auto handOff = std::move(readingHandOff);
    readingHandOff = nullptr;
    readingHandedOn = true;
    handOff();
}

void LoopCall::letWorkspaceGo() {
    workspaceQueue.release();
    leftWorkspace = true;
}

void LoopCall::leaveWorkspace() {
    handReadingOn();
    letWorkspaceGo();
}

void LoopCall::runOnWorkspace(const std::function<void()>& step) {
    if (leftWorkspace) handReadingOn();
    workspaceQueue.run(step);
}

StoredResponse LoopCall::exchange(const RequestSession& session) {
    letWorkspaceGo();
    if (cancelled) throw Error(std::string(CurlEasy::cancelledText));
    if (!exchangeSlots.tryAcquire()) {
        handReadingOn();
        if (!exchangeSlots.acquire(cancelled)) throw Error(std::string(CurlEasy::cancelledText));
    }
    const SlotHold slot(exchangeSlots);
    TransferControl control{.cancelled = &cancelled};
    if (readingHandOff) {
        control.watched = watchedInput;
        control.watchedReady = [this] { handReadingOn(); };
    }
    std::optional<ProgressNotifier> notifier;
    if (!progressToken.empty()) {
        notifier.emplace(progressToken);
        control.progress = [&](const TransferProgress& progress) {
            if (auto line = notifier->line(progress, ProgressNotifier::Clock::now())) replies.write(*line);
        };
        control.progress(TransferProgress{});
    }
    return session.perform(control);
}

std::optional<ResponseRouter::Expected> LoopCall::askHost(const std::string& method, const nlohmann::json& params) {
    auto request = router.expectNew();
    replies.write(R"({"id":)" + request.id + R"(,"jsonrpc":"2.0","method":)" + nlohmann::json(method).dump() +
                  R"(,"params":)" + compactJSON::encode(params) + "}");
    return request;
}

void LoopCall::withdraw(const ResponseRouter::Expected& request) {
    router.forget(request.id);
    replies.write(R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":)" + request.id + "}}");
}

void LoopCall::reportProgress(std::uint64_t progress, std::optional<std::uint64_t> total, const std::string& text) {
    if (!progressToken.empty()) replies.write(ProgressNotifier::notification(progressToken, progress, total, text));
}

}  // namespace tessaline
