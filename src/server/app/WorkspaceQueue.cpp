#include "server/app/WorkspaceQueue.hpp"

#include <future>
#include <memory>

namespace tessaline {
namespace {

// The queue the calling thread holds, if any.
thread_local const WorkspaceQueue* holding = nullptr;

}  // namespace

void WorkspaceQueue::post(std::function<void()> task) {
    const std::lock_guard guard(lock);
    tasks.push_back(std::move(task));
    if (held) return;
    held = true;
    threads.run([this] { drain(); });
}

bool WorkspaceQueue::runIfIdle(const std::function<void()>& step) {
    {
        const std::lock_guard guard(lock);
        if (held) return false;
        held = true;
    }
    holding = this;
    try {
        step();
    } catch (...) {
        release();
        throw;
    }
    release();
    return true;
}

void WorkspaceQueue::run(const std::function<void()>& step) {
    if (holding == this) return step();
    if (runIfIdle(step)) return;
    // The thread that runs the step owns the promise: it may still be inside set_value() when
    // get() returns here.
    auto done = std::make_shared<std::promise<void>>();
    auto outcome = done->get_future();
    post([&step, done] {
        try {
            step();
            done->set_value();
        } catch (...) {
            done->set_exception(std::current_exception());
        }
    });
    outcome.get();
}

void WorkspaceQueue::release() {
    if (holding != this) return;
    holding = nullptr;
    const std::lock_guard guard(lock);
    if (tasks.empty()) {
        held = false;
    } else {
        threads.run([this] { drain(); });
    }
}

void WorkspaceQueue::drain() {
    holding = this;
    for (;;) {
        std::function<void()> task;
        {
            const std::lock_guard guard(lock);
            if (tasks.empty()) {
                held = false;
                holding = nullptr;
                return;
            }
            task = std::move(tasks.front());
            tasks.pop_front();
        }
        task();
        // A task that released the queue left it to another thread.
        if (holding != this) return;
    }
}

}  // namespace tessaline
