#include "server/app/LoopCall.hpp"

#include "core/http/CurlEasy.hpp"
#include "server/mcp/ProgressNotifier.hpp"

#include <future>

namespace tessaline {
namespace {

// The JSON text of params._meta.progressToken when it is a string or a number, else empty.
std::string progressTokenOf(std::string_view params) {
    auto token = JSONRPCMessage::memberText(JSONRPCMessage::memberText(params, "_meta"), "progressToken");
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

LoopCall::LoopCall(std::shared_ptr<const std::string> line, JSONRPCMessage request, SerialQueue& workspace,
                   ExchangeSlots& slots, ReplyWriter& writer)
    : text(std::move(line)),
      message(std::move(request)),
      workspaceQueue(workspace),
      exchangeSlots(slots),
      replies(writer),
      progressToken(progressTokenOf(message.params)) {}

void LoopCall::serveFirstStep() {
    std::unique_lock guard(lock);
    changed.wait(guard, [this] { return firstStep != nullptr || stepsEnded; });
    if (!firstStep) return;
    const auto* step = firstStep;
    guard.unlock();
    std::exception_ptr failure;
    try {
        (*step)();
    } catch (...) {
        failure = std::current_exception();
    }
    guard.lock();
    firstStepFailure = failure;
    firstStepDone = true;
    changed.notify_all();
}

void LoopCall::endSteps() {
    const std::lock_guard guard(lock);
    stepsEnded = true;
    changed.notify_all();
}

void LoopCall::runOnWorkspace(const std::function<void()>& step) {
    std::unique_lock guard(lock);
    if (!firstStepAsked) {
        firstStepAsked = true;
        firstStep = &step;
        changed.notify_all();
        changed.wait(guard, [this] { return firstStepDone; });
        if (firstStepFailure) std::rethrow_exception(firstStepFailure);
        return;
    }
    guard.unlock();
    // The workspace thread owns the promise: it may still be inside set_value() when get()
    // returns here.
    auto done = std::make_shared<std::promise<void>>();
    auto outcome = done->get_future();
    workspaceQueue.post([&step, done] {
        try {
            step();
            done->set_value();
        } catch (...) {
            done->set_exception(std::current_exception());
        }
    });
    outcome.get();
}

StoredResponse LoopCall::exchange(const RequestSession& session) {
    if (!exchangeSlots.acquire(cancelled)) throw Error(std::string(CurlEasy::cancelledText));
    const SlotHold slot(exchangeSlots);
    TransferControl control{.cancelled = &cancelled};
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

}  // namespace tessaline
