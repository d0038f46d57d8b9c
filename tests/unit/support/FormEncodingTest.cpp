#include "support/FormEncoding.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(FormEncodingTest, KeepsOnlyLettersDigitsAndFourMarks) {
    EXPECT_EQ("aZ09-._*", formEncoding::percentEncoded("aZ09-._*"));
    EXPECT_EQ("a%20b%2Bc%26d%3De%3A%2F%7E%25", formEncoding::percentEncoded("a b+c&d=e:/~%"));
    EXPECT_EQ("%C3%A9%00", formEncoding::percentEncoded(std::string("\xC3\xA9\0", 3)));
}

TEST(FormEncodingTest, DecodesPercentSequencesAndKeepsPlus) {
    EXPECT_EQ("a b+c&", formEncoding::percentDecoded("a%20b+c%26"));
    EXPECT_EQ("\xC3\xA9", formEncoding::percentDecoded("%c3%A9"));
    EXPECT_EQ("100%", formEncoding::percentDecoded("100%"));
    EXPECT_EQ("%zz%20", formEncoding::percentDecoded("%zz%20"));
}

TEST(FormEncodingTest, EncodesAndDecodesFields) {
    const formEncoding::Fields fields{{"grant_type", "password"}, {"user name", "a&b=c"}, {"empty", ""}};
    const auto text = formEncoding::encoded(fields);
    EXPECT_EQ("grant_type=password&user%20name=a%26b%3Dc&empty=", text);
    EXPECT_EQ(fields, formEncoding::decoded(text));
    const formEncoding::Fields loose{{"a", "1=2"}, {"flag", ""}, {"b", ""}};
    EXPECT_EQ(loose, formEncoding::decoded("&a=1=2&&flag&b="));
}

}  // namespace
}  // namespace tessaline
