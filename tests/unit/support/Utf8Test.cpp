#include "support/Utf8.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

const std::string fffd = "\xEF\xBF\xBD";

TEST(Utf8Test, ValidTextIsKeptAsItIs) {
    EXPECT_TRUE(utf8::isValid("plain"));
    EXPECT_TRUE(utf8::isValid("caf\xC3\xA9 \xF0\x9F\x98\x80"));
    EXPECT_EQ("caf\xC3\xA9 \xF0\x9F\x98\x80", utf8::repaired("caf\xC3\xA9 \xF0\x9F\x98\x80"));
}

// One U+FFFD per maximal ill-formed subpart, as platform decoders count them.
TEST(Utf8Test, RepairReplacesEachMaximalSubpart) {
    struct Case {
        std::string input, expected;
    } cases[] = {
        {"a\xFF" "b", "a" + fffd + "b"},
        {"\xC0\xAF", fffd + fffd},                      // overlong lead bytes are never valid
        {"\xE2\x82", fffd},                              // truncated three-byte sequence
        {"\xE2\x82" "A", fffd + "A"},
        {"\xED\xA0\x80", fffd + fffd + fffd},            // encoded surrogate
        {"\xF0\x9F\x98", fffd},                          // truncated four-byte sequence
        {"\xF4\x90\x80\x80", fffd + fffd + fffd + fffd}, // beyond U+10FFFF
        {"\x80\x80", fffd + fffd},
    };
    for (const auto& c : cases) {
        EXPECT_FALSE(utf8::isValid(c.input));
        EXPECT_EQ(c.expected, utf8::repaired(c.input));
    }
}

TEST(Utf8Test, AppendScalarEncodesEveryLength) {
    std::string out;
    for (char32_t c : {U'A', U'\u00E9', U'\u20AC', U'\U0001F600'}) utf8::appendScalar(out, c);
    EXPECT_EQ("A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", out);
}

}  // namespace
}  // namespace tessaline
