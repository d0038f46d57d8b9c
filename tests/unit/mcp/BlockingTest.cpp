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

TEST(BlockingTest, RethrowsTheOperationsError) {
    EXPECT_THROW(blocking([]() -> int { throw std::runtime_error("token endpoint down"); }), std::runtime_error);
}

}  // namespace
}  // namespace tessaline
