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

std::string encoded(const OAuth2Token& token) {
    JSONWriter writer;
    write(writer, token);
    return std::move(writer).text();
}

OAuth2Token decoded(std::string_view bytes) {
    const auto document = JSONDocument::parse(bytes);
    return decodeOAuth2Token(JSONReader(document));
}

TEST(OAuth2TokenTest, JSONLeavesOutAbsentFieldsAndReadsBack) {
    const OAuth2Token minimal{.accessToken = "a", .tokenType = "bearer", .obtainedAt = noon};
    EXPECT_EQ("{\n  \"accessToken\": \"a\",\n  \"obtainedAt\": \"2026-01-01T12:00:00Z\",\n  \"tokenType\": \"bearer\"\n}",
              encoded(minimal));
    EXPECT_EQ(minimal, decoded(encoded(minimal)));

    const OAuth2Token full{.accessToken = "a",
                           .refreshToken = "r",
                           .idToken = "i",
                           .scope = "s",
                           .expiresAt = noon + seconds(3600),
                           .obtainedAt = noon};
    EXPECT_NE(std::string::npos, encoded(full).find("\"expiresAt\": \"2026-01-01T13:00:00Z\""));
    EXPECT_EQ(full, decoded(encoded(full)));
}

TEST(OAuth2TokenTest, DecodingNeedsTheRequiredKeys) {
    EXPECT_THROW(decoded(R"({"accessToken": "a", "obtainedAt": "2026-01-01T12:00:00Z"})"), DecodingError);
    EXPECT_THROW(decoded(R"({"accessToken": "a", "tokenType": "Bearer"})"), DecodingError);
}

}  // namespace
}  // namespace tessaline
