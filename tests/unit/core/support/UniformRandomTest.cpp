#include "core/support/UniformRandom.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace tessaline {
namespace {

TEST(UniformRandomTest, DegenerateAndFullRanges) {
    EXPECT_EQ(0u, uniformRandom::upTo(0));
    EXPECT_EQ(-5, uniformRandom::between(-5, -5));
    // The full 64-bit range must neither overflow nor loop; a few draws land on both signs.
    bool negative = false, positive = false;
    for (int i = 0; i < 64; ++i) {
        const auto value = uniformRandom::between(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
        negative = negative || value < 0;
        positive = positive || value > 0;
    }
    EXPECT_TRUE(negative && positive);
}

// Gross bias only, such as a modulo of a single byte: what rejection removes for 3 is too
// small for any sample. The bounds are seven standard deviations wide.
TEST(UniformRandomTest, SmallRangeIsEvenlySpread) {
    int counts[3] = {};
    for (int i = 0; i < 30000; ++i) ++counts[uniformRandom::upTo(2)];
    for (const int count : counts) EXPECT_NEAR(10000, count, 600);
}

}  // namespace
}  // namespace tessaline
