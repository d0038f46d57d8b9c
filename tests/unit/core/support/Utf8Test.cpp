#include "core/support/Utf8.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

const std::string fffd = "\xEF\xBF\xBD";

// One U+FFFD per maximal ill-formed subpart, as platform decoders count them; valid text,
// U+FFFD itself included, is kept as it is.
TEST(Utf8Test, RepairReplacesEachMaximalSubpart) {
    const std::pair<std::string, std::string> cases[] = {
        {"caf\xC3\xA9 \xF0\x9F\x98\x80" + fffd, "caf\xC3\xA9 \xF0\x9F\x98\x80" + fffd},
        {"a\xFF" "b", "a" + fffd + "b"},
        {"\xC0\xAF", fffd + fffd},                      // overlong lead bytes are never valid
        {"\xE2\x82", fffd},                              // truncated three-byte sequence
        {"\xE2\x82" "A", fffd + "A"},
        {"\xED\xA0\x80", fffd + fffd + fffd},            // encoded surrogate
        {"\xF0\x9F\x98", fffd},                          // truncated four-byte sequence
        {"\xF4\x90\x80\x80", fffd + fffd + fffd + fffd}, // beyond U+10FFFF
        {"\x80\x80", fffd + fffd},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(input == expected, utf8::isValid(input)) << testing::PrintToString(input);
        EXPECT_EQ(expected, utf8::repaired(input)) << testing::PrintToString(input);
    }
}

}  // namespace
}  // namespace tessaline
