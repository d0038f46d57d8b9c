#include "support/DecimalInteger.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace tessaline {
namespace {

TEST(DecimalIntegerTest, SignAndDigitsOnly) {
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
    constexpr auto highest = std::numeric_limits<std::int64_t>::max();
    const struct {
        const char* text;
        std::optional<std::int64_t> value;
    } cases[] = {
        {"0", 0},          {"42", 42},       {"+7", 7},        {"-7", -7},     {"007", 7},
        {"-0", 0},         {"", {}},         {"+", {}},        {"-", {}},      {"+-5", {}},
        {"--5", {}},       {" 5", {}},       {"5 ", {}},       {"1.0", {}},    {"1e3", {}},
        {"0x10", {}},      {"١٢", {}},       {"9223372036854775807", highest},
        {"-9223372036854775808", lowest},    {"9223372036854775808", {}},      {"-9223372036854775809", {}},
        {"99999999999999999999999", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(c.value, parseDecimalInteger(c.text)) << '"' << c.text << '"';
}

}  // namespace
}  // namespace tessaline
