#include "mcp/Blocking.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace tessaline {
namespace {

TEST(BlockingTest, RunsEveryOperationOnOneOtherThread) {
    const auto first = blocking([] { return std::this_thread::get_id(); });
    EXPECT_NE(std::this_thread::get_id(), first);
    EXPECT_EQ(first, blocking([] { return std::this_thread::get_id(); }));
}

TEST(BlockingTest, RethrowsTheOperationsErrorAndKeepsWorking) {
    EXPECT_EQ("token endpoint down",
              thrownText<std::runtime_error>([] { blocking([]() -> int { throw std::runtime_error("token endpoint down"); }); }));
    EXPECT_EQ(7, blocking([] { return 7; }));
}

}  // namespace
}  // namespace tessaline
