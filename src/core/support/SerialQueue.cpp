#include "core/support/SerialQueue.hpp"

#include <algorithm>

namespace tessaline {

SerialQueue::~SerialQueue() {
    {
        std::lock_guard lock(mutex);
        stopping = true;
    }
    wake.notify_all();
    if (worker.joinable()) worker.join();
}

SerialQueue::Ticket SerialQueue::post(std::function<void()> task, Clock::duration delay) {
    Ticket ticket;
    {
        std::lock_guard lock(mutex);
        ticket = nextTicket++;
        tasks.emplace(std::make_pair(Clock::now() + delay, ticket), std::move(task));
        if (!worker.joinable()) worker = std::thread([this] { run(); });
    }
    wake.notify_all();
    return ticket;
}

bool SerialQueue::cancel(Ticket ticket) {
    std::lock_guard lock(mutex);
    const auto found = std::find_if(tasks.begin(), tasks.end(), [&](const auto& entry) { return entry.first.second == ticket; });
    if (found == tasks.end()) return false;
    tasks.erase(found);
    return true;
}

void SerialQueue::run() {
    std::unique_lock lock(mutex);
    for (;;) {
        const bool nothingDue = tasks.empty() || Clock::now() < tasks.begin()->first.first;
        if (nothingDue && stopping) return;
        if (tasks.empty()) {
            wake.wait(lock);
            continue;
        }
        if (nothingDue) {
            const auto due = tasks.begin()->first.first;  // a copy: cancel() may erase the entry while we wait
            wake.wait_until(lock, due);
            continue;
        }
        auto task = std::move(tasks.begin()->second);
        tasks.erase(tasks.begin());
        lock.unlock();
        task();
        lock.lock();
    }
}

}  // namespace tessaline
