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
    LoopCall(JSONRPCMessage message, WorkspaceQueue& workspace, ExchangeSlots& slots, ReplyWriter& writer,
             ResponseRouter& responses);

    const JSONRPCMessage& request() const { return message; }

    // Any thread: no reply will be written, a step not yet begun never runs and a running
    // exchange is aborted.
    void cancel() { cancelled = true; }

    // Before the call runs on the thread that reads the input: `handOff` gives the reading to
    // another thread, and the call calls it (once, on its own thread) as soon as it would wait
    // for anything but its own work: for more input arriving on `input` during its exchange,
    // for an exchange slot, for a token request, or for a turn on the workspace after its
    // exchange (the turn that records the response writes to the disk).
    void holdReading(int input, std::function<void()> handOff);
    // Whether the call gave the reading to another thread.
    bool handedReadingOn() const { return readingHandedOn; }

    void runOnWorkspace(const std::function<void()>& step) override;
    StoredResponse exchange(const RequestSession& session) override;
    void leaveWorkspace() override;
    bool isCancelled() const override { return cancelled; }
    std::optional<ResponseRouter::Expected> askHost(const std::string& method, const nlohmann::json& params) override;
    void withdraw(const ResponseRouter::Expected& request) override;
    void reportProgress(std::uint64_t progress, std::optional<std::uint64_t> total, const std::string& text) override;

private:
    void handReadingOn();
    void letWorkspaceGo();

    JSONRPCMessage message;
    WorkspaceQueue& workspaceQueue;
    ExchangeSlots& exchangeSlots;
    ReplyWriter& replies;
    ResponseRouter& router;
    std::string progressToken;  // its JSON text; empty when the call carried none
    std::atomic<bool> cancelled{false};
    // State below is used by the call's own thread only.
    int watchedInput = -1;
    std::function<void()> readingHandOff;
    bool readingHandedOn = false;
    bool leftWorkspace = false;
};

}  // namespace tessaline
