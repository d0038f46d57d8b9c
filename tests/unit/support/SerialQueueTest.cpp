#include "support/SerialQueue.hpp"

#include <gtest/gtest.h>

#include <future>
#include <latch>
#include <vector>

namespace tessaline {
namespace {

using namespace std::chrono_literals;

// Holds the queue's one thread until opened, so that tasks wait in the queue meanwhile.
struct Gate {
    std::promise<void> opener;
    std::shared_future<void> opened = opener.get_future().share();
    std::function<void()> task() {
        return [future = opened] { future.wait(); };
    }
};

TEST(SerialQueueTest, RunsTasksByDueTimeAndEqualOnesInPostingOrder) {
    std::vector<int> order;
    std::latch done(3);
    const auto run = [&](int number) {
        return [&, number] {
            order.push_back(number);
            done.count_down();
        };
    };
    SerialQueue queue;
    const auto posted = SerialQueue::Clock::now();
    queue.post(run(3), 200ms);
    queue.post(run(1));
    queue.post(run(2));
    // On a machine so loaded that posting took longer than the delay, the later tasks are
    // rightly due after the delayed one.
    const bool postedWithinTheDelay = SerialQueue::Clock::now() - posted < 200ms;
    done.wait();
    if (postedWithinTheDelay) {
        EXPECT_EQ((std::vector<int>{1, 2, 3}), order);
    }
    EXPECT_GE(SerialQueue::Clock::now() - posted, 200ms);
}

TEST(SerialQueueTest, ACancelledTaskNeverRuns) {
    SerialQueue queue;
    Gate gate;
    queue.post(gate.task());
    bool ran = false;
    const auto ticket = queue.post([&] { ran = true; });  // due, but the thread is held
    EXPECT_TRUE(queue.cancel(ticket));
    EXPECT_FALSE(queue.cancel(ticket));
    std::promise<void> done;
    queue.post([&] { done.set_value(); });
    gate.opener.set_value();
    done.get_future().wait();
    EXPECT_FALSE(ran);
}

TEST(SerialQueueTest, DestructionRunsDueTasksAndDropsTheOthers) {
    bool due = false;
    bool later = false;
    {
        SerialQueue queue;
        queue.post([&] { later = true; }, 1h);
        // A task that takes a while, so that the due one is most likely still waiting when
        // the queue goes away; the outcome is the same if it is not.
        queue.post([] { std::this_thread::sleep_for(20ms); });
        queue.post([&] { due = true; });
    }
    EXPECT_TRUE(due);
    EXPECT_FALSE(later);
}

}  // namespace
}  // namespace tessaline
