#include "oauth/OAuth2ResponseBody.hpp"

#include "ThrownText.hpp"
#include "oauth/OAuth2Error.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

OAuth2Token token(const std::string& body) { return OAuth2ResponseBody(200, body).token(noon); }

TEST(OAuth2ResponseBodyTest, ReadsJSONAndFormEncodedTokens) {
    EXPECT_EQ((OAuth2Token{.accessToken = "abc", .tokenType = "Bearer", .refreshToken = "r", .idToken = "i",
                           .scope = "read", .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon}),
              token(R"({"access_token":"abc","expires_in":"3600","scope":"read","refresh_token":"r","id_token":"i"})"));
    EXPECT_EQ((OAuth2Token{.accessToken = "abc", .tokenType = "bearer", .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon}),
              token("access_token=abc&token_type=bearer&expires_in=3600"));
    EXPECT_EQ((OAuth2Token{.accessToken = "a", .obtainedAt = noon}), token(R"({"access_token":"a","expires_in":null,"token_type":7})"));
    EXPECT_EQ(noon + std::chrono::milliseconds(1500), token(R"({"access_token":"a","expires_in":1.5})").expiresAt);
    EXPECT_EQ(std::nullopt, token(R"({"access_token":"a","expires_in":"7s"})").expiresAt);
}

TEST(OAuth2ResponseBodyTest, FailuresSayWhatTheServerSaid) {
    const std::string page = "<html><body>" + std::string(400, 'x') + "</body></html>";
    const struct {
        long status;
        std::string body;
        std::string error;
    } cases[] = {
        {401, R"({"error":"invalid_client","error_description":"bad secret"})", "OAuth 2 error invalid_client: bad secret (HTTP 401)"},
        {200, R"({"error":"invalid_grant","access_token":"a"})", "OAuth 2 error invalid_grant (HTTP 200)"},
        {400, "error=access_denied&error_description=no+way", "OAuth 2 error access_denied: no+way (HTTP 400)"},
        {502, page, "OAuth 2 error http_502: " + page.substr(0, 300) + " (HTTP 502)"},
        {500, "", "OAuth 2 error http_500 (HTTP 500)"},
        {503, R"({"error":42})", R"(OAuth 2 error http_503: {"error":42} (HTTP 503))"},
        {200, R"({"token_type":"Bearer"})", R"(Unexpected token response: no access_token in {"token_type":"Bearer"})"},
        {200, R"({"access_token":""})", R"(Unexpected token response: no access_token in {"access_token":""})"},
        {204, "", "Unexpected token response: no access_token in "},
        // A multi-byte character cut by the quote's length is shown as a replacement.
        {200, std::string(299, 'a') + "\xC3\xA9tail", "Unexpected token response: no access_token in " + std::string(299, 'a') + "\xEF\xBF\xBD"},
    };
    for (const auto& failure : cases) {
        EXPECT_EQ(failure.error, thrownText<OAuth2Error>([&] { OAuth2ResponseBody(failure.status, failure.body).token(noon); })) << failure.body;
    }
}

}  // namespace
}  // namespace tessaline
