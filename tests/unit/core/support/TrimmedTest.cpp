#include "core/support/Trimmed.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(TrimmedTest, DropsUnicodeWhiteSpaceAndLineBreaksAtBothEnds) {
    EXPECT_EQ("a b", trimmed(" \t\r\na b\n "));
    EXPECT_EQ("x", trimmed("\xC2\xA0x\xE3\x80\x80\xE2\x80\xA8"));  // no-break, ideographic, line separator
    EXPECT_EQ("", trimmed(" \n\t"));
    EXPECT_EQ("", trimmed(""));
    EXPECT_EQ("\xFF x", trimmed(" \xFF x "));
    EXPECT_EQ("a\xE2\x80\x8B", trimmed("a\xE2\x80\x8B"));  // a zero-width space is no white space
}

}  // namespace
}  // namespace tessaline
