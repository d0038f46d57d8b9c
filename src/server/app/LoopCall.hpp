#pragma once

#include "core/support/SerialQueue.hpp"
#include "server/app/ExchangeSlots.hpp"
#include "server/app/ReplyWriter.hpp"
#include "server/mcp/CallContext.hpp"
#include "server/mcp/JSONRPCMessage.hpp"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace tessaline {

// A tools/call the message loop runs on a thread of its own, from its arrival to its reply. Its
// first workspace step takes the call's place in the workspace queue: the loop queues the call
// when it reads it, and when its turn comes the workspace thread waits there for the call's
// thread to hand it that step (serveFirstStep), so the step sees exactly the edits of the calls
// read before it. Later steps join the queue when they are asked for. Exchanges take one of
// the loop's slots, watch the call's cancel flag and, when the call carried a progress token,
// write progress notifications.
class LoopCall : public CallContext {
public:
    // `line` holds the message's text; `message` was read from it.
    LoopCall(std::shared_ptr<const std::string> line, JSONRPCMessage message, SerialQueue& workspace, ExchangeSlots& slots,
             ReplyWriter& writer);

    const JSONRPCMessage& request() const { return message; }

    // Any thread: no reply will be written, a step not yet begun never runs and a running
    // exchange is aborted.
    void cancel() { cancelled = true; }
    bool isCancelled() const { return cancelled; }

    // The workspace thread, at the call's turn: runs the first step the call's thread asks for,
    // or returns when the call ends without asking for one.
    void serveFirstStep();
    // The call's thread, once it will ask for no more steps.
    void endSteps();

    void runOnWorkspace(const std::function<void()>& step) override;
    StoredResponse exchange(const RequestSession& session) override;

private:
    std::shared_ptr<const std::string> text;
    JSONRPCMessage message;
    SerialQueue& workspaceQueue;
    ExchangeSlots& exchangeSlots;
    ReplyWriter& replies;
    std::string progressToken;  // its JSON text; empty when the call carried none
    std::atomic<bool> cancelled{false};

    std::mutex lock;
    std::condition_variable changed;
    // State below is guarded by lock.
    bool firstStepAsked = false;
    const std::function<void()>* firstStep = nullptr;
    bool firstStepDone = false;
    std::exception_ptr firstStepFailure;
    bool stepsEnded = false;
};

}  // namespace tessaline
