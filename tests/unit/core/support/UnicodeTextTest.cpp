#include "core/support/UnicodeText.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(UnicodeTextTest, LowercasesBeyondASCII) {
    EXPECT_EQ("stra\xC3\x9F" "e \xC3\xA9t\xC3\xA9", unicodeText::lowercased("STRA\xC3\x9F" "E \xC3\x89T\xC3\x89"));
    EXPECT_EQ("\xCF\x83\xCF\x8C\xCF\x82", unicodeText::lowercased("\xCE\xA3\xCE\x8C\xCE\xA3"));  // final sigma
    EXPECT_EQ("x-request-id: a1", unicodeText::lowercased("X-Request-ID: A1"));
}

// The fuzzer holds counting and cutting to ICU's rules; here, that the cut of a long body
// stops where its count ends.
TEST(UnicodeTextTest, PrefixOfLongTextStopsAtItsCount) {
    std::string text(1'000'000, 'x');
    text.replace(3, 1, "\r\ne\xCC\x81");  // CR LF is one character, as is e with a combining acute
    EXPECT_EQ("xxx\r\ne\xCC\x81x", unicodeText::characterPrefix(text, 6));
    EXPECT_EQ(text.size() - 3, unicodeText::characterCount(text));
}

}  // namespace
}  // namespace tessaline
