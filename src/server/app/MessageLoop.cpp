#include "server/app/MessageLoop.hpp"

#include "core/support/Utf8.hpp"
#include "server/app/LineReader.hpp"

namespace tessaline {
namespace {

std::string_view trimBlanksAndTabs(std::string_view line) {
    const auto first = line.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return line.substr(first, line.find_last_not_of(" \t") - first + 1);
}

}  // namespace

MessageLoop::MessageLoop(WorkspaceStore& workspaceStore, MCPServer& mcpServer, ReplyWriter& replyWriter)
    : store(workspaceStore), server(mcpServer), writer(replyWriter) {}

void MessageLoop::run(int input) {
    LineReader reader(input, MCPServer::lineLengthLimit);
    lines = &reader;
    inputDescriptor = input;
    read();
    std::unique_lock guard(lock);
    answered.wait(guard, [this] { return inputEnded && unanswered == 0; });
}

void MessageLoop::read() {
    while (const auto line = lines->next()) {
        if (line->tooLong) {
            writer.write(MCPServer::lineTooLong());
        } else if (const auto text = trimBlanksAndTabs(line->text); !text.empty() && take(text)) {
            return;
        }
    }
    // A call waiting for a person's sign-in would wait for a host that is gone.
    server.endSignIns();
    // Notified under the lock: once run() sees the end, the loop may be destroyed.
    const std::lock_guard guard(lock);
    inputEnded = true;
    if (unanswered == 0) answered.notify_all();
}

bool MessageLoop::take(std::string_view line) {
    const std::string repairedLine = utf8::isValid(line) ? std::string() : utf8::repaired(line);
    const std::string_view text = repairedLine.empty() ? line : repairedLine;
    auto message = JSONRPCMessage::read(text);
    if (!message) {
        writer.write(MCPServer::parseError());
    } else if (message->isResponse()) {
        router.deliver(message->id, std::string(text));
    } else if (message->isNotification()) {
        if (message->method == "notifications/cancelled") cancel(message->requestId);
    } else if (MCPServer::answersAtOnce(*message)) {
        writer.write(server.reply(*message));
    } else {
        return queue(std::move(*message));
    }
    return false;
}

bool MessageLoop::queue(JSONRPCMessage message) {
    auto call = std::make_shared<LoopCall>(std::move(message), workspace, slots, writer, router);
    {
        const std::lock_guard guard(lock);
        pending.insert_or_assign(call->request().id, call);
        ++unanswered;
    }
    // Runs here and now or not at all, so it may refer to `call` (and fit std::function's own storage).
    const auto alone = [this, &call] {
        call->holdReading(inputDescriptor, [this] { handReadingOn(); });
        start(call);
    };
    if (sendsAlone(*call) && workspace.runIfIdle(alone)) return call->handedReadingOn();
    workspace.post([this, call] { start(call); });
    return false;
}

bool MessageLoop::sendsAlone(const LoopCall& call) const {
    if (lines->hasLine()) return false;
    const auto& params = call.request().params;
    const auto name = params.find("name");
    if (name == params.end() || !name->is_string()) return false;
    const auto& tool = name->get_ref<const std::string&>();
    return tool == "send_request" || tool == "send_adhoc";
}

void MessageLoop::handReadingOn() {
    workers.run([this] { read(); });
}

void MessageLoop::cancel(const std::string& id) {
    {
        const std::lock_guard guard(lock);
        const auto found = pending.find(id);
        if (found == pending.end()) return;
        found->second->cancel();
    }
    slots.wakeAll();
}

void MessageLoop::start(const std::shared_ptr<LoopCall>& call) {
    store.reloadIfChanged();
    if (call->isCancelled()) return finish(call, std::nullopt);
    finish(call, server.reply(call->request(), *call));
}

void MessageLoop::finish(const std::shared_ptr<LoopCall>& call, const std::optional<std::string>& reply) {
    bool write = false;
    {
        const std::lock_guard guard(lock);
        if (const auto found = pending.find(call->request().id); found != pending.end() && found->second == call) {
            pending.erase(found);
        }
        write = reply && !call->isCancelled();
    }
    if (write) writer.write(*reply);
    // Notified under the lock: once run() sees no call left, the loop may be destroyed. Only
    // the last answer after the end of input wakes it; waking it for every call cost a send
    // a few percent of its time.
    const std::lock_guard guard(lock);
    if (--unanswered == 0 && inputEnded) answered.notify_all();
}

}  // namespace tessaline
