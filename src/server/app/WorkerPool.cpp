#include "server/app/WorkerPool.hpp"

namespace tessaline {

WorkerPool::~WorkerPool() {
    {
        const std::lock_guard guard(lock);
        stopping = true;
    }
    wake.notify_all();
    for (auto& thread : threads) thread.join();
}

void WorkerPool::run(std::function<void()> task) {
    {
        const std::lock_guard guard(lock);
        tasks.push_back(std::move(task));
        if (tasks.size() > idle) threads.emplace_back([this] { work(); });
    }
    wake.notify_one();
}

void WorkerPool::work() {
    std::unique_lock guard(lock);
    for (;;) {
        ++idle;
        wake.wait(guard, [this] { return stopping || !tasks.empty(); });
        --idle;
        if (tasks.empty()) return;
        auto task = std::move(tasks.front());
        tasks.pop_front();
        guard.unlock();
        task();
        guard.lock();
    }
}

}  // namespace tessaline
