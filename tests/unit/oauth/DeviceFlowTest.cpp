#include "oauth/DeviceFlow.hpp"

#include "AuthorizationServer.hpp"
#include "ScriptedBrowser.hpp"
#include "SteppedClock.hpp"
#include "oauth/OAuth2Service.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Mode = OAuth2Service::Mode;
using Seconds = OAuth2Timing::Seconds;

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

class DeviceFlowTest : public testing::Test {
protected:
    OAuth2ResolvedConfig config() const {
        return {.grant = OAuth2Grant::deviceCode,
                .tokenURL = server.url("/token"),
                .deviceAuthURL = server.url("/device"),
                .clientID = "tv",
                .scope = "read",
                .tokenParams = {{.key = "audience", .value = "api"}}};
    }

    // The device authorization answers `authorization`; the token endpoint answers the
    // errors in turn and then a token.
    void script(const std::string& authorization, std::vector<std::string> errors) {
        server.onDevice = [authorization](const auto&) { return AuthorizationServer::json(200, authorization); };
        server.onToken = [errors = std::move(errors), polls = std::size_t(0)](const auto&) mutable {
            if (polls < errors.size()) {
                return AuthorizationServer::json(400, R"({"error":")" + errors[polls++] + R"("})");
            }
            return AuthorizationServer::json(200, R"({"access_token":"device-token"})");
        };
    }

    // Seconds after noon at which the token endpoint was polled.
    std::vector<double> pollTimes() const {
        std::vector<double> times;
        for (const auto& request : server.tokenRequests()) times.push_back(Seconds(request.at - noon).count());
        return times;
    }

    std::string signInFailure() {
        try {
            service.token(config(), Mode::renew, &browser);
        } catch (const std::exception& error) {
            return error.what();
        }
        return "no failure";
    }

    SteppedClock clock{noon};
    AuthorizationServer server{[this] { return clock.now(); }};
    ScriptedBrowser browser;
    OAuth2TokenCache cache{std::nullopt};
    OAuth2Service service{cache, clock.timing()};
};

TEST_F(DeviceFlowTest, SlowDownStretchesTheIntervalForAllLaterPolls) {
    const auto verify = server.url("/verify");
    script(R"({"device_code":"dev-1","user_code":"WDJB-MJHT","verification_uri":")" + verify + R"(","expires_in":1800})",
           {"slow_down", "slow_down"});
    EXPECT_EQ("device-token", service.token(config(), Mode::reuse, &browser).accessToken);
    EXPECT_EQ((std::vector<double>{5, 15, 30}), pollTimes());

    ASSERT_EQ(1u, browser.prompts.size());
    EXPECT_EQ(OAuth2Prompt(OAuth2DeviceCode{.userCode = "WDJB-MJHT", .verificationURI = verify,
                                            .expiresIn = Seconds(1800), .interval = Seconds(5)}),
              browser.prompts[0]);
    EXPECT_EQ(1, browser.dismissals);

    EXPECT_EQ("scope=read&audience=api&client_id=tv", server.deviceRequests().at(0).body);
    EXPECT_EQ("grant_type=urn%3Aietf%3Aparams%3Aoauth%3Agrant-type%3Adevice_code&device_code=dev-1&audience=api&"
              "client_id=tv",
              server.tokenRequests().at(0).body);
}

TEST_F(DeviceFlowTest, PendingPollsGoOnAtTheGivenIntervalAndProviderSpellingsAreRead) {
    const auto verify = server.url("/verify");
    script(R"({"device_code":"d","user_code":"U","verification_url":")" + verify +
               R"(","verification_uri_complete":")" + verify + R"(?code=U","interval":"2"})",
           {"authorization_pending", "authorization_pending"});
    EXPECT_EQ("device-token", service.token(config(), Mode::renew, &browser).accessToken);
    EXPECT_EQ((std::vector<double>{2, 4, 6}), pollTimes());
    const auto& shown = std::get<OAuth2DeviceCode>(browser.prompts.at(0));
    EXPECT_EQ(verify, shown.verificationURI);
    EXPECT_EQ(verify + "?code=U", shown.verificationURIComplete);
    EXPECT_EQ(Seconds(900), shown.expiresIn);
}

TEST_F(DeviceFlowTest, TheFlowEndsWhenTheCodeExpiresOrThePersonCancels) {
    const auto authorization = R"({"device_code":"d","user_code":"U","verification_uri":")" + server.url("/v") +
                               R"(","expires_in":10,"interval":3})";
    script(authorization, std::vector<std::string>(10, "authorization_pending"));
    EXPECT_EQ("Timed out waiting for the sign-in to finish.", signInFailure());
    EXPECT_EQ((std::vector<double>{3, 6, 9}), pollTimes());

    browser.cancelOnPrompt = true;
    EXPECT_EQ("Sign-in was cancelled.", signInFailure());
    EXPECT_EQ(3u, server.tokenRequests().size());
    EXPECT_EQ(2, browser.dismissals);
}

TEST_F(DeviceFlowTest, FailuresOfTheDeviceAuthorizationAndThePolls) {
    script(R"({"device_code":"d","verification_uri":"https://x.example/v"})", {});
    EXPECT_EQ("Unexpected token response: device authorization response is missing device_code, user_code or "
              "verification_uri (HTTP 200)",
              signInFailure());
    script(R"({"device_code":"d","user_code":"U","verification_uri":"not a url"})", {});
    EXPECT_EQ("Unexpected token response: device authorization response is missing device_code, user_code or "
              "verification_uri (HTTP 200)",
              signInFailure());
    server.onDevice = [](const auto&) {
        return AuthorizationServer::json(401, R"({"error":"invalid_client","error_description":"unknown"})");
    };
    EXPECT_EQ("OAuth 2 error invalid_client: unknown (HTTP 401)", signInFailure());
    script(R"({"device_code":"d","user_code":"U","verification_uri":"https://x.example/v"})", {"access_denied"});
    EXPECT_EQ("OAuth 2 error access_denied (HTTP 400)", signInFailure());

    auto noDeviceEndpoint = config();
    noDeviceEndpoint.deviceAuthURL = "";
    try {
        service.token(noDeviceEndpoint, Mode::renew, &browser);
        FAIL() << "no failure";
    } catch (const std::exception& error) {
        EXPECT_EQ("The device authorization URL is missing or invalid.", std::string(error.what()));
    }
}

}  // namespace
}  // namespace tessaline
