#include "model/OAuth2Token.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using std::chrono::seconds;

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

TEST(OAuth2TokenTest, UsableUntilTheLeewayBeforeExpiry) {
    const OAuth2Token forever{.accessToken = "a"};
    EXPECT_TRUE(forever.isUsable(noon + std::chrono::hours(24 * 365 * 100), seconds(30)));

    const OAuth2Token token{.accessToken = "a", .expiresAt = noon};
    EXPECT_FALSE(token.isUsable(noon - seconds(30), seconds(30)));
    EXPECT_TRUE(token.isUsable(noon - seconds(31), seconds(30)));
    EXPECT_FALSE(token.isUsable(noon + seconds(1), seconds(0)));
}

TEST(OAuth2TokenTest, CanRefreshOnlyWithANonEmptyRefreshToken) {
    EXPECT_FALSE(OAuth2Token{}.canRefresh());
    EXPECT_FALSE(OAuth2Token{.refreshToken = ""}.canRefresh());
    EXPECT_TRUE(OAuth2Token{.refreshToken = "r"}.canRefresh());
}

TEST(OAuth2TokenTest, JSONLeavesOutAbsentFieldsAndReadsBack) {
    const OAuth2Token minimal{.accessToken = "a", .tokenType = "bearer", .obtainedAt = noon};
    const auto json = toJSON(minimal);
    EXPECT_EQ((nlohmann::json{{"accessToken", "a"}, {"tokenType", "bearer"}, {"obtainedAt", "2026-01-01T12:00:00Z"}}),
              json);
    EXPECT_EQ(minimal, decodeOAuth2Token(JSONReader(json)));

    const OAuth2Token full{.accessToken = "a",
                           .refreshToken = "r",
                           .idToken = "i",
                           .scope = "s",
                           .expiresAt = noon + seconds(3600),
                           .obtainedAt = noon};
    EXPECT_EQ("2026-01-01T13:00:00Z", toJSON(full)["expiresAt"]);
    EXPECT_EQ(full, decodeOAuth2Token(JSONReader(toJSON(full))));
}

TEST(OAuth2TokenTest, DecodingNeedsTheRequiredKeys) {
    const nlohmann::json noType{{"accessToken", "a"}, {"obtainedAt", "2026-01-01T12:00:00Z"}};
    EXPECT_THROW(decodeOAuth2Token(JSONReader(noType)), DecodingError);
}

}  // namespace
}  // namespace tessaline
