#include "core/support/Base64.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(Base64Test, EncodesAndDecodesBothWays) {
    const std::pair<std::string, std::string> vectors[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foobar", "Zm9vYmFy"}, {std::string("\0\xFF\xFE", 3), "AP/+"},
    };
    for (const auto& [bytes, text] : vectors) {
        EXPECT_EQ(text, base64::encode(bytes));
        EXPECT_EQ(bytes, base64::decode(text)) << text;
    }
    // Long enough to be encoded in several pieces, and never broken into lines.
    std::string bytes(4 << 20, 'x');
    for (std::size_t at = 0; at < bytes.size(); at += 7) bytes[at] = static_cast<char>(at);
    const auto text = base64::encode(bytes);
    EXPECT_EQ(5592408u, text.size());
    EXPECT_EQ(std::string::npos, text.find('\n'));
    EXPECT_EQ(bytes, base64::decode(text));
}

TEST(Base64Test, RejectsAnythingButCanonicalText) {
    for (const char* text : {"Zg", "Zg=", "Z===", "====", "Zm9v\n", " Zm9v", "Zm=v", "Zm9-", "Zm9_", "Zg==Zg=="}) {
        EXPECT_FALSE(base64::decode(text)) << text;
    }
}

}  // namespace
}  // namespace tessaline
