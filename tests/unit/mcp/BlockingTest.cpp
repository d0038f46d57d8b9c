#include "mcp/Blocking.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace tessaline {
namespace {

TEST(BlockingTest, ReturnsTheValueComputedOnAnotherThread) {
    const auto caller = std::this_thread::get_id();
    const auto worker = blocking([] { return std::this_thread::get_id(); });
    EXPECT_NE(caller, worker);
}

TEST(BlockingTest, ReusesOneWorkerForEveryOperation) {
    const auto first = blocking([] { return std::this_thread::get_id(); });
    const auto second = blocking([] { return std::this_thread::get_id(); });
    EXPECT_EQ(first, second);
}

TEST(BlockingTest, RethrowsTheOperationsError) {
    try {
        blocking([]() -> int { throw std::runtime_error("token endpoint down"); });
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("token endpoint down", error.what());
    }
    EXPECT_EQ(7, blocking([] { return 7; })) << "the worker survives an operation that threw";
}

}  // namespace
}  // namespace tessaline
