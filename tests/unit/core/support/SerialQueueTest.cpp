#include "core/support/SerialQueue.hpp"

#include <gtest/gtest.h>

#include <future>
#include <vector>

namespace tessaline {
namespace {

using namespace std::chrono_literals;

// Delays are checked through the editor's timed saves, which rest on them. The queue's thread
// is held until just before the queue goes away, so that the due tasks most likely still wait
// then; they must run either way.
TEST(SerialQueueTest, CancelledTasksNeverRunAndDestructionRunsOnlyTheDueOnes) {
    std::vector<int> ran;
    {
        SerialQueue queue;
        std::promise<void> gate;
        queue.post([opened = gate.get_future().share()] { opened.wait(); });
        queue.post([&] { ran.push_back(1); });
        const auto ticket = queue.post([&] { ran.push_back(2); });
        queue.post([&] { ran.push_back(3); });
        queue.post([&] { ran.push_back(4); }, 1h);
        EXPECT_TRUE(queue.cancel(ticket));
        EXPECT_FALSE(queue.cancel(ticket));
        gate.set_value();
    }
    EXPECT_EQ((std::vector<int>{1, 3}), ran);
}

}  // namespace
}  // namespace tessaline
