#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tessaline {

// Threads for tasks that may wait a long time (a send waits for its turn on the workspace and
// for the network): every task starts at once, on an idle thread or else a new one, and a
// thread that finishes stays for the next task. Destruction waits for the running tasks.
class WorkerPool {
public:
    WorkerPool() = default;
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    void run(std::function<void()> task);

private:
    void work();

    std::mutex lock;
    std::condition_variable wake;
    // State below is guarded by lock.
    std::deque<std::function<void()>> tasks;
    std::size_t idle = 0;
    bool stopping = false;
    std::vector<std::thread> threads;
};

}  // namespace tessaline
