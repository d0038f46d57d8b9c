#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace tessaline {

// One background thread that runs posted tasks one at a time, each at or after its due
// time. Tasks posted with the same due time run in posting order. A task still waiting
// can be cancelled by the ticket post() returned. Destruction runs the tasks that are due
// and drops those that are not; callers that must not lose delayed work flush it first.
class SerialQueue {
public:
    using Ticket = std::uint64_t;
    using Clock = std::chrono::steady_clock;

    SerialQueue() = default;
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    Ticket post(std::function<void()> task, Clock::duration delay = Clock::duration::zero());
    // Returns whether the task was still waiting (and now never runs).
    bool cancel(Ticket ticket);

private:
    void run();

    std::mutex mutex;
    std::condition_variable wake;
    // Keyed by (due time, ticket): the first entry is the next to run.
    std::map<std::pair<Clock::time_point, Ticket>, std::function<void()>> tasks;
    Ticket nextTicket = 1;
    bool stopping = false;
    std::thread worker;  // started by the first post
};

}  // namespace tessaline
