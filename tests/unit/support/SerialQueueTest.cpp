#include "support/SerialQueue.hpp"

#include <gtest/gtest.h>

#include <future>
#include <vector>

namespace tessaline {
namespace {

using namespace std::chrono_literals;

TEST(SerialQueueTest, RunsTasksInDueOrderOnOneThread) {
    SerialQueue queue;
    std::vector<int> order;
    std::promise<void> done;
    queue.post([&] { order.push_back(3); done.set_value(); }, 60ms);
    queue.post([&] { order.push_back(1); });
    queue.post([&] { order.push_back(2); });
    done.get_future().wait();
    EXPECT_EQ((std::vector<int>{1, 2, 3}), order);
}

TEST(SerialQueueTest, CancelledTasksNeverRun) {
    SerialQueue queue;
    bool ran = false;
    const auto ticket = queue.post([&] { ran = true; }, 50ms);
    EXPECT_TRUE(queue.cancel(ticket));
    EXPECT_FALSE(queue.cancel(ticket));
    std::promise<void> done;
    queue.post([&] { done.set_value(); }, 80ms);
    done.get_future().wait();
    EXPECT_FALSE(ran);
}

TEST(SerialQueueTest, DestructionRunsDueTasksAndDropsTheOthers) {
    bool due = false;
    bool later = false;
    {
        SerialQueue queue;
        queue.post([&] { later = true; }, 10s);
        queue.post([&] { std::this_thread::sleep_for(20ms); });
        queue.post([&] { due = true; });
    }
    EXPECT_TRUE(due);
    EXPECT_FALSE(later);
}

}  // namespace
}  // namespace tessaline
