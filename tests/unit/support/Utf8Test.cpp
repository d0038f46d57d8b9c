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

// The first byte that no well-formed text could have there; a sequence cut short by the end
// is not a fault yet.
TEST(Utf8Test, FirstIllFormedByteIsWhereThePrefixStopsBeingValid) {
    const struct {
        std::string bytes;
        std::size_t expected;
    } cases[] = {
        {"caf\xC3\xA9 \xF0\x9F\x98\x80", 10},
        {"ab\xE2\x82", 4},           // cut short
        {"ab\xE2\x82" "A", 4},       // the "A" breaks the sequence
        {"ab\xC3(", 3},
        {"ab\x80", 2},                // a continuation byte cannot lead
        {"\xC0\xAF", 0},             // nor can an overlong lead
        {"\xF5\x80", 0},
        {"\xE0\x80\x80", 1},         // overlong: E0 needs A0..BF next
        {"\xED\xA0\x80", 1},         // surrogate: ED needs 80..9F next
        {"\xF4\x90\x80\x80", 1},     // beyond U+10FFFF
        {"\xF0\x9F\x98" "x", 3},
    };
    for (const auto& c : cases) EXPECT_EQ(c.expected, utf8::firstIllFormedByte(c.bytes)) << c.bytes;
}

TEST(Utf8Test, CodePointAtReadsOneScalarOrOneMaximalSubpart) {
    const struct {
        std::string bytes;
        char32_t scalar;
        std::size_t length;
        bool wellFormed;
    } cases[] = {
        {"A", U'A', 1, true},
        {"\xC3\xA9!", U'\u00E9', 2, true},
        {"\xE2\x82\xAC", U'\u20AC', 3, true},
        {"\xF0\x9F\x98\x80", U'\U0001F600', 4, true},
        {"\xF4\x8F\xBF\xBF", U'\U0010FFFF', 4, true},
        {"\xEF\xBF\xBD", U'\uFFFD', 3, true},
        {"\xF0\x9F\x98", U'\uFFFD', 3, false},  // truncated at the end
        {"\xE2\x82" "A", U'\uFFFD', 2, false},   // cut short by an ASCII byte
        {"\xED\xA0\x80", U'\uFFFD', 1, false},   // surrogate: the lead byte alone
        {"\xE0\x80\x80", U'\uFFFD', 1, false},   // overlong
        {"\xF4\x90\x80\x80", U'\uFFFD', 1, false},
        {"\xC1\xBF", U'\uFFFD', 1, false},
        {"\x80", U'\uFFFD', 1, false},
    };
    for (const auto& c : cases) {
        const utf8::CodePoint read = utf8::codePointAt(c.bytes, 0);
        EXPECT_EQ(c.scalar, read.scalar) << testing::PrintToString(c.bytes);
        EXPECT_EQ(c.length, read.length) << testing::PrintToString(c.bytes);
        EXPECT_EQ(c.wellFormed, read.wellFormed) << testing::PrintToString(c.bytes);
    }
}

TEST(Utf8Test, AppendScalarEncodesEveryLength) {
    std::string out;
    for (char32_t c : {U'A', U'\u00E9', U'\u20AC', U'\U0001F600'}) utf8::appendScalar(out, c);
    EXPECT_EQ("A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", out);
}

}  // namespace
}  // namespace tessaline
