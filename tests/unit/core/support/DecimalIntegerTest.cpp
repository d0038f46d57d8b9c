#include "core/support/DecimalInteger.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(DecimalIntegerTest, SignAndDigitsOnly) {
    const std::pair<const char*, std::int64_t> accepted[] = {
        {"0", 0}, {"42", 42}, {"+7", 7}, {"-7", -7}, {"007", 7}, {"-0", 0},
        {"9223372036854775807", INT64_MAX}, {"-9223372036854775808", INT64_MIN},
    };
    for (const auto& [text, value] : accepted) EXPECT_EQ(value, parseDecimalInteger(text)) << text;
    for (const char* text : {"", "+", "-", "+-5", "--5", " 5", "5 ", "1.0", "1e3", "0x10", "١٢", "9223372036854775808",
                             "-9223372036854775809", "99999999999999999999999"}) {
        EXPECT_FALSE(parseDecimalInteger(text)) << '"' << text << '"';
    }
}

}  // namespace
}  // namespace tessaline
