#include "support/Base64.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(Base64Test, KnownVectorsBothWays) {
    const std::pair<std::string, std::string> vectors[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"}, {std::string("\0\xFF\xFE", 3), "AP/+"},
    };
    for (const auto& [bytes, text] : vectors) {
        EXPECT_EQ(text, base64::encode(bytes));
        EXPECT_EQ(bytes, base64::decode(text)) << text;
    }
}

TEST(Base64Test, LongInputHasNoLineBreaks) {
    const std::string bytes(3000, 'x');
    const auto text = base64::encode(bytes);
    EXPECT_EQ(4000u, text.size());
    EXPECT_EQ(std::string::npos, text.find('\n'));
    EXPECT_EQ(bytes, base64::decode(text));
}

TEST(Base64Test, MalformedTextIsRejected) {
    for (const char* text : {"Zg", "Zg=", "Z===", "====", "Zm9v\n", " Zm9v", "Zm=v", "Zm9-", "Zm9_", "Zg==Zg=="}) {
        EXPECT_FALSE(base64::decode(text)) << text;
    }
}

}  // namespace
}  // namespace tessaline
