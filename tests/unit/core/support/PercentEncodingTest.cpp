#include "core/support/PercentEncoding.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(PercentEncodingTest, KeepsLettersDigitsAndTheGivenCharactersOnly) {
    EXPECT_EQ("aZ09-._*%7E%20%2B%26%3D%25%C3%A9%00%FF", percentEncoding::encode(std::string("aZ09-._*~ +&=%é\0\xff", 18), "-._*"));
    EXPECT_EQ("a~b%2Fc", percentEncoding::encode("a~b/c", "~"));
    EXPECT_EQ("", percentEncoding::encode("", ""));
    // A NUL byte in `kept` must not keep a NUL of the text by accident of string ends.
    EXPECT_EQ("%00", percentEncoding::encode(std::string(1, '\0'), "-"));
}

TEST(PercentEncodingTest, DecodesEscapesAndKeepsEverythingElse) {
    EXPECT_EQ("a b+c&\xC3\xA9", percentEncoding::decode("a%20b+c%26%c3%A9"));
    EXPECT_EQ("100% %zz %2", percentEncoding::decode("100% %zz %2"));
    EXPECT_EQ(std::string(1, '\0'), percentEncoding::decode("%00"));
    EXPECT_EQ("a b+c&\xC3\xA9", percentEncoding::decodeStrictly("a%20b+c%26%c3%A9"));
    for (const auto* broken : {"100%", "%zz", "a%2", "%%41"}) EXPECT_EQ(std::nullopt, percentEncoding::decodeStrictly(broken)) << broken;
}

}  // namespace
}  // namespace tessaline
