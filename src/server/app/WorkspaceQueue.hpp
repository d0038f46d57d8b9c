#pragma once

#include "server/app/WorkerPool.hpp"

#include <deque>
#include <functional>
#include <mutex>

namespace tessaline {

// Runs the steps that use the workspace one at a time, in the order they were posted, so that
// the store stays single-threaded. No thread is the queue's own: a step runs on a pool thread,
// or on the thread that asks for it when the queue is idle, and a step that goes on to work
// that never touches the workspace (an exchange, a token request) releases the queue, which
// then carries on with later steps on another thread. A send thus costs no hand-over between
// threads unless another call needs the workspace at the same time.
//
// The thread that runs a step "holds" the queue until the step returns or it calls release().
class WorkspaceQueue {
public:
    // `pool` runs the steps posted while the queue is held; it must outlive the queue's work,
    // that is be destroyed (joining its threads) before the queue.
    explicit WorkspaceQueue(WorkerPool& pool) : threads(pool) {}

    // Any thread: runs `task` after every step posted before it.
    void post(std::function<void()> task);

    // When the queue is idle, runs `step` at once on the calling thread, holding the queue, and
    // returns true (rethrowing what it throws); else returns false without running it.
    bool runIfIdle(const std::function<void()>& step);
    // Runs `step` after every step posted before it and returns once it has run, rethrowing
    // what it throws: at once when the calling thread holds the queue, on the calling thread
    // when the queue is idle, else on the thread that holds it.
    void run(const std::function<void()>& step);
    // From the thread that holds the queue: the rest of its work touches no workspace, and the
    // queue goes on without it. Does nothing on any other thread.
    void release();

private:
    // Runs posted tasks on the calling pool thread until none is left or one releases the queue.
    void drain();

    WorkerPool& threads;
    std::mutex lock;
    // State below is guarded by lock.
    std::deque<std::function<void()>> tasks;
    bool held = false;
};

}  // namespace tessaline
