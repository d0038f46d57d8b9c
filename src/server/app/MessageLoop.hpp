#pragma once

#include "core/storage/WorkspaceStore.hpp"
#include "server/app/ExchangeSlots.hpp"
#include "server/app/LineReader.hpp"
#include "server/app/LoopCall.hpp"
#include "server/app/ReplyWriter.hpp"
#include "server/app/WorkerPool.hpp"
#include "server/app/WorkspaceQueue.hpp"
#include "server/mcp/MCPServer.hpp"
#include "server/mcp/ResponseRouter.hpp"

#include <condition_variable>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace tessaline {

// The server's threads. One thread at a time reads and parses lines, and answers at once what
// needs no workspace (every method but tools/call); it hands the host's responses to
// `responses()` and takes in cancellations. Tool calls queue for the workspace
// (WorkspaceQueue), where each first takes in what another process changed in the folder, then
// runs, one at a time and in the order they were read. A send read while nothing else runs
// runs on the reading thread, which keeps the reading until the send would wait for more than
// its own exchange or another line arrives, so that it costs no hand-over between threads. A tool that sends lets the queue go on while its
// exchange runs and takes a new turn to record the response; at most exchangeLimit exchanges
// run at once. Replies, in whatever order the calls end, and progress notifications go through
// one writer.
//
// notifications/cancelled with the id of a call not yet answered means that no reply is
// written for it: a call still waiting never runs, and a running exchange is aborted.
class MessageLoop {
public:
    static constexpr int exchangeLimit = 8;

    MessageLoop(WorkspaceStore& store, MCPServer& server, ReplyWriter& writer);

    // Reads `input` to its end, then waits until every call read has been answered.
    void run(int input);

    ResponseRouter& responses() { return router; }

private:
    // Reads lines until the input ends, or until this thread hands the reading on to run a call.
    void read();
    // Each returns true when the calling thread ran a call and handed the reading on.
    bool take(std::string_view line);
    bool queue(JSONRPCMessage message);
    // Whether the call is a send with no other line waiting: it then runs on the reading thread
    // while nothing else needs the workspace, and the reading goes to another thread only once
    // the call would wait for more than its exchange, or more input arrives.
    bool sendsAlone(const LoopCall& call) const;
    void handReadingOn();
    // Cancels the call with that id (as written back), if it is not answered yet.
    void cancel(const std::string& id);
    // The call's turn on the workspace.
    void start(const std::shared_ptr<LoopCall>& call);
    // Writes the reply, unless the call was cancelled, and forgets the call.
    void finish(const std::shared_ptr<LoopCall>& call, const std::optional<std::string>& reply);

    WorkspaceStore& store;
    MCPServer& server;
    ReplyWriter& writer;
    ResponseRouter router;
    ExchangeSlots slots{exchangeLimit};
    LineReader* lines = nullptr;  // used by the one thread that reads at the time
    int inputDescriptor = -1;

    std::mutex lock;
    std::condition_variable answered;
    // State below is guarded by lock.
    std::map<std::string, std::shared_ptr<LoopCall>> pending;  // by id, the latest call with it
    std::size_t unanswered = 0;
    bool inputEnded = false;

    // Declared in this order so that the pool is destroyed first: joining its threads waits
    // for the queue's work, which uses every member above.
    WorkspaceQueue workspace{workers};
    WorkerPool workers;
};

}  // namespace tessaline
