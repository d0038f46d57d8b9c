#include "model/OAuth2Token.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using std::chrono::seconds;

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

TEST(OAuth2TokenTest, UsableUntilTheLeewayBeforeExpiry) {
    EXPECT_TRUE(OAuth2Token{.accessToken = "a"}.isUsable(noon + std::chrono::hours(24 * 365 * 100), seconds(30)));
    const OAuth2Token token{.accessToken = "a", .expiresAt = noon};
    EXPECT_FALSE(token.isUsable(noon - seconds(30), seconds(30)));
    EXPECT_TRUE(token.isUsable(noon - seconds(31), seconds(30)));
    EXPECT_FALSE(token.isUsable(noon + seconds(1), seconds(0)));
}

TEST(OAuth2TokenTest, DecodingNeedsTheRequiredKeys) {
    for (const char* text : {R"({"accessToken": "a", "obtainedAt": "2026-01-01T12:00:00Z"})",
                             R"({"accessToken": "a", "tokenType": "Bearer"})"}) {
        EXPECT_THROW(decodeOAuth2Token(JSONReader(JSONDocument::parse(text))), DecodingError) << text;
    }
}

}  // namespace
}  // namespace tessaline
