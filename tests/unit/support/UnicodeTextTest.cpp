#include "support/UnicodeText.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(UnicodeTextTest, LowercasesBeyondAscii) {
    EXPECT_EQ("stra\xC3\x9F" "e \xC3\xA9t\xC3\xA9", unicodeText::lowercased("STRA\xC3\x9F" "E \xC3\x89T\xC3\x89"));
    EXPECT_EQ("\xCF\x83\xCF\x8C\xCF\x82", unicodeText::lowercased("\xCE\xA3\xCE\x8C\xCE\xA3"));  // final sigma
}

TEST(UnicodeTextTest, CountsUserPerceivedCharacters) {
    const std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
    EXPECT_EQ(5u, unicodeText::characterCount("hello"));
    EXPECT_EQ(2u, unicodeText::characterCount("a\r\n"));
    EXPECT_EQ(3u, unicodeText::characterCount("x" + family + "y"));
    EXPECT_EQ(1u, unicodeText::characterCount("e\xCC\x81"));  // e + combining acute
    EXPECT_EQ(2u, unicodeText::characterCount("\xFF" "a"));   // a bad byte counts as U+FFFD
}

TEST(UnicodeTextTest, PrefixNeverSplitsACharacter) {
    const std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9";
    EXPECT_EQ("a" + family, unicodeText::characterPrefix("a" + family + "b", 2));
    EXPECT_EQ("", unicodeText::characterPrefix("abc", 0));
    EXPECT_EQ("abc", unicodeText::characterPrefix("abc", 10));
    EXPECT_EQ("a\r\n", unicodeText::characterPrefix("a\r\nb", 2));
}

}  // namespace
}  // namespace tessaline
