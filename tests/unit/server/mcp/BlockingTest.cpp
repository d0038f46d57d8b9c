#include "server/mcp/Blocking.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace tessaline {
namespace {

TEST(BlockingTest, RunsEveryOperationOnOneOtherThreadAndRethrowsItsError) {
    const auto worker = blocking([] { return std::this_thread::get_id(); });
    EXPECT_NE(std::this_thread::get_id(), worker);
    EXPECT_EQ("token endpoint down",
              thrownText<std::runtime_error>([] { blocking([]() -> int { throw std::runtime_error("token endpoint down"); }); }));
    EXPECT_EQ(worker, blocking([] { return std::this_thread::get_id(); }));
}

}  // namespace
}  // namespace tessaline
