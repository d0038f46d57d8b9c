#pragma once

#include "server/app/ExchangeSlots.hpp"
#include "server/app/ReplyWriter.hpp"
#include "server/app/WorkspaceQueue.hpp"
#include "server/mcp/CallContext.hpp"
#include "server/mcp/JSONRPCMessage.hpp"

#include <atomic>
#include <functional>
#include <string>

namespace tessaline {

// A tools/call from its arrival to its reply. The loop posts the call to the workspace queue
// when it reads it, and the call starts at its turn there, holding the queue: its first steps
// see exactly the edits of the calls read before it. Before an exchange or a token request it
// lets the queue go on without it; a later step (recording the response) takes a new turn.
// Exchanges take one of the loop's slots, watch the call's cancel flag and, when the call
// carried a progress token, write progress notifications.
class LoopCall : public CallContext {
public:
    LoopCall(JSONRPCMessage message, WorkspaceQueue& workspace, ExchangeSlots& slots, ReplyWriter& writer);

    const JSONRPCMessage& request() const { return message; }

    // Any thread: no reply will be written, a step not yet begun never runs and a running
    // exchange is aborted.
    void cancel() { cancelled = true; }
    bool isCancelled() const { return cancelled; }

    void runOnWorkspace(const std::function<void()>& step) override;
    StoredResponse exchange(const RequestSession& session) override;
    void leaveWorkspace() override { workspaceQueue.release(); }

private:
    JSONRPCMessage message;
    WorkspaceQueue& workspaceQueue;
    ExchangeSlots& exchangeSlots;
    ReplyWriter& replies;
    std::string progressToken;  // its JSON text; empty when the call carried none
    std::atomic<bool> cancelled{false};
};

}  // namespace tessaline
