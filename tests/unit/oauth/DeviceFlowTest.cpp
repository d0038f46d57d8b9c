#include "oauth/DeviceFlow.hpp"

#include "AuthorizationServer.hpp"
#include "ScriptedBrowser.hpp"
#include "ThrownText.hpp"
#include "oauth/OAuth2Service.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Seconds = OAuth2Timing::Seconds;

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

class DeviceFlowTest : public testing::Test {
protected:
    // The device authorization answers `authorization`, its "URI" standing for the server's
    // verification page; the token endpoint answers the errors in turn, then a token.
    void script(std::string authorization, std::vector<std::string> errors) {
        authorization.replace(authorization.find("URI"), 3, verify);
        server.onDevice = [authorization](const auto&) { return AuthorizationServer::json(200, authorization); };
        server.onToken = [errors = std::move(errors), polls = std::size_t(0)](const auto&) mutable {
            if (polls == errors.size()) return AuthorizationServer::json(200, R"({"access_token":"device-token"})");
            return AuthorizationServer::json(400, R"({"error":")" + errors[polls++] + R"("})");
        };
    }

    // Seconds after noon at which the token endpoint was polled.
    std::vector<double> pollTimes() const {
        std::vector<double> times;
        for (const auto& request : server.tokenRequests()) times.push_back(Seconds(request.at - noon).count());
        return times;
    }

    std::string signIn(const std::string& deviceAuthURL = "/device") {
        const OAuth2ResolvedConfig config{.grant = OAuth2Grant::deviceCode,
                                          .tokenURL = server.url("/token"),
                                          .deviceAuthURL = deviceAuthURL.empty() ? "" : server.url(deviceAuthURL),
                                          .clientID = "tv",
                                          .scope = "read",
                                          .tokenParams = {{.key = "audience", .value = "api"}}};
        std::string token;
        const auto failure = thrownText([&] { token = service.token(config, OAuth2Service::Mode::renew, &browser).accessToken; });
        return token.empty() ? failure : token;
    }

    SteppedClock clock{noon};
    AuthorizationServer server{[this] { return clock.now(); }};
    const std::string verify = server.url("/verify");
    ScriptedBrowser browser;
    OAuth2TokenCache cache{std::nullopt};
    OAuth2Service service{cache, clock.timing()};
};

TEST_F(DeviceFlowTest, SlowDownStretchesTheIntervalForAllLaterPolls) {
    script(R"({"device_code":"dev-1","user_code":"WDJB-MJHT","verification_uri":"URI","expires_in":1800})", {"slow_down", "slow_down"});
    EXPECT_EQ("device-token", signIn());
    EXPECT_EQ((std::vector<double>{5, 15, 30}), pollTimes());
    EXPECT_EQ("scope=read&audience=api&client_id=tv", server.deviceRequests().at(0).body);
    EXPECT_EQ((std::vector<OAuth2Prompt>{OAuth2DeviceCode{
                  .userCode = "WDJB-MJHT", .verificationURI = verify, .expiresIn = Seconds(1800), .interval = Seconds(5)}}),
              browser.prompts);
    EXPECT_EQ(1, browser.dismissals);
}

TEST_F(DeviceFlowTest, PendingPollsGoOnAtTheGivenIntervalAndProviderSpellingsAreRead) {
    script(R"({"device_code":"d","user_code":"U","verification_url":"URI","verification_uri_complete":"U?code=U","interval":"2"})",
           {"authorization_pending", "authorization_pending"});
    EXPECT_EQ("device-token", signIn());
    EXPECT_EQ((std::vector<double>{2, 4, 6}), pollTimes());
    EXPECT_EQ((std::vector<OAuth2Prompt>{OAuth2DeviceCode{.userCode = "U",
                                                          .verificationURI = verify,
                                                          .verificationURIComplete = "U?code=U",
                                                          .expiresIn = Seconds(900),
                                                          .interval = Seconds(2)}}),
              browser.prompts);
}

TEST_F(DeviceFlowTest, TheFlowEndsWhenTheCodeExpiresOrThePersonCancels) {
    script(R"({"device_code":"d","user_code":"U","verification_uri":"URI","expires_in":10,"interval":3})",
           std::vector<std::string>(10, "authorization_pending"));
    EXPECT_EQ("Timed out waiting for the sign-in to finish.", signIn());
    EXPECT_EQ((std::vector<double>{3, 6, 9}), pollTimes());

    browser.cancelOnPrompt = true;
    EXPECT_EQ("Sign-in was cancelled.", signIn());
    EXPECT_EQ(3u, server.tokenRequests().size());
    EXPECT_EQ(2, browser.dismissals);
}

TEST_F(DeviceFlowTest, FailuresOfTheDeviceAuthorizationAndThePolls) {
    const std::string incomplete = "Unexpected token response: device authorization response is missing device_code, "
                                   "user_code or verification_uri (HTTP 200)";
    script(R"({"device_code":"d","verification_uri":"URI"})", {});
    EXPECT_EQ(incomplete, signIn());
    script(R"({"device_code":"d","user_code":"U","verification_uri":"not a URI"})", {});
    EXPECT_EQ(incomplete, signIn());
    script(R"({"device_code":"d","user_code":"U","verification_uri":"URI"})", {"access_denied"});
    EXPECT_EQ("OAuth 2 error access_denied (HTTP 400)", signIn());
    server.onDevice = [](const auto&) {
        return AuthorizationServer::json(401, R"({"error":"invalid_client","error_description":"unknown"})");
    };
    EXPECT_EQ("OAuth 2 error invalid_client: unknown (HTTP 401)", signIn());
    EXPECT_EQ("The device authorization URL is missing or invalid.", signIn(""));
}

}  // namespace
}  // namespace tessaline
