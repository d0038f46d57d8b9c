#include "oauth/OAuth2ResponseBody.hpp"

#include "oauth/OAuth2Error.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

std::string failure(long status, const std::string& body) {
    try {
        OAuth2ResponseBody(status, body).token(noon);
    } catch (const OAuth2Error& error) {
        return error.what();
    }
    return "no failure";
}

TEST(OAuth2ResponseBodyTest, ReadsJSONAndFormEncodedTokens) {
    const auto json = OAuth2ResponseBody(200, R"({"access_token":"abc","expires_in":"3600","scope":"read",
        "refresh_token":"r","id_token":"i"})").token(noon);
    EXPECT_EQ((OAuth2Token{.accessToken = "abc", .tokenType = "Bearer", .refreshToken = "r", .idToken = "i",
                           .scope = "read", .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon}),
              json);

    const auto form = OAuth2ResponseBody(200, "access_token=abc&token_type=bearer&expires_in=3600").token(noon);
    EXPECT_EQ("abc", form.accessToken);
    EXPECT_EQ("bearer", form.tokenType);
    EXPECT_EQ(noon + std::chrono::hours(1), form.expiresAt);

    const auto forever = OAuth2ResponseBody(200, R"({"access_token":"a","expires_in":null,"token_type":7})").token(noon);
    EXPECT_FALSE(forever.expiresAt);
    EXPECT_EQ("Bearer", forever.tokenType);
    EXPECT_EQ(noon + std::chrono::milliseconds(1500), OAuth2ResponseBody(200, R"({"access_token":"a","expires_in":1.5})").token(noon).expiresAt);
}

TEST(OAuth2ResponseBodyTest, NumbersAsNumbersOrNumericText) {
    const OAuth2ResponseBody body(200, R"({"a":5,"b":"7.5","c":"7s","d":true,"e":""})");
    EXPECT_EQ(5.0, body.number("a"));
    EXPECT_EQ(7.5, body.number("b"));
    EXPECT_FALSE(body.number("c"));
    EXPECT_FALSE(body.number("d"));
    EXPECT_FALSE(body.number("e"));
    EXPECT_FALSE(body.number("missing"));
    EXPECT_EQ(std::optional<std::string>("7s"), body.text("c"));
    EXPECT_FALSE(body.text("a"));
}

TEST(OAuth2ResponseBodyTest, FailuresSayWhatTheServerSaid) {
    const std::string page = "<html><body>" + std::string(400, 'x') + "</body></html>";
    EXPECT_EQ("OAuth 2 error invalid_client: bad secret (HTTP 401)",
              failure(401, R"({"error":"invalid_client","error_description":"bad secret"})"));
    EXPECT_EQ("OAuth 2 error invalid_grant (HTTP 200)", failure(200, R"({"error":"invalid_grant","access_token":"a"})"));
    EXPECT_EQ("OAuth 2 error access_denied: no+way (HTTP 400)", failure(400, "error=access_denied&error_description=no+way"));
    EXPECT_EQ("OAuth 2 error http_502: " + page.substr(0, 300) + " (HTTP 502)", failure(502, page));
    EXPECT_EQ("OAuth 2 error http_500 (HTTP 500)", failure(500, ""));
    EXPECT_EQ("OAuth 2 error http_503: {\"error\":42} (HTTP 503)", failure(503, R"({"error":42})"));
    EXPECT_EQ(R"(Unexpected token response: no access_token in {"token_type":"Bearer"})",
              failure(200, R"({"token_type":"Bearer"})"));
    EXPECT_EQ(R"(Unexpected token response: no access_token in {"access_token":""})", failure(200, R"({"access_token":""})"));
    EXPECT_EQ("Unexpected token response: no access_token in ", failure(204, ""));
}

TEST(OAuth2ResponseBodyTest, QuotesACutMultiByteCharacterAsReplacement) {
    const std::string body = std::string(299, 'a') + "\xC3\xA9" + "tail";
    EXPECT_EQ(std::string(299, 'a') + "\xEF\xBF\xBD", OAuth2ResponseBody(200, body).start());
}

}  // namespace
}  // namespace tessaline
