#include "oauth/DeviceFlow.hpp"

#include "OAuth2ServiceFixture.hpp"

namespace tessaline {
namespace {

class DeviceFlowTest : public OAuth2ServiceFixture {};

// Pending polls keep the interval; each slow_down adds five seconds to it for good.
TEST_F(DeviceFlowTest, PollsAtTheIntervalUntilATokenComesAndReadsProviderSpellings) {
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_url":"URI","verification_uri_complete":"U?code=U","interval":"2"})",
                 {"slow_down", "authorization_pending", "slow_down"});
    EXPECT_EQ("device-token", obtain(deviceCode()));
    EXPECT_EQ((std::vector<double>{2, 9, 16, 28}), pollTimes());
    EXPECT_EQ("scope=read&client_id=tv", server.deviceRequests().at(0).body);
    EXPECT_EQ((std::vector<OAuth2Prompt>{OAuth2DeviceCode{.userCode = "U", .verificationURI = verify, .verificationURIComplete = "U?code=U",
                                                          .expiresIn = Seconds(900), .interval = Seconds(2)}}),
              browser.prompts);
    EXPECT_EQ(1, browser.dismissals);
}

TEST_F(DeviceFlowTest, TheFlowEndsWhenTheCodeExpiresOrThePersonCancels) {
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_uri":"URI","expires_in":10,"interval":3})",
                 std::vector<std::string>(10, "authorization_pending"));
    EXPECT_EQ("Timed out waiting for the sign-in to finish.", obtain(deviceCode()));
    EXPECT_EQ((std::vector<double>{3, 6, 9}), pollTimes());
    browser.cancelOnPrompt = true;
    EXPECT_EQ("Sign-in was cancelled.", obtain(deviceCode()));
    EXPECT_EQ(3u, server.tokenRequests().size());
    EXPECT_EQ(2, browser.dismissals);
}

TEST_F(DeviceFlowTest, FailuresOfTheDeviceAuthorizationAndThePolls) {
    const std::string incomplete =
        "Unexpected token response: device authorization response is missing device_code, user_code or verification_uri (HTTP 200)";
    scriptDevice(R"({"device_code":"d","verification_uri":"URI"})", {});
    EXPECT_EQ(incomplete, obtain(deviceCode()));
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_uri":"not a URI"})", {});
    EXPECT_EQ(incomplete, obtain(deviceCode()));
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_uri":"URI"})", {"access_denied"});
    EXPECT_EQ("OAuth 2 error access_denied (HTTP 400)", obtain(deviceCode()));
    server.onDevice = [](const auto&) { return AuthorizationServer::Reply(401, R"({"error":"invalid_client","error_description":"unknown"})"); };
    EXPECT_EQ("OAuth 2 error invalid_client: unknown (HTTP 401)", obtain(deviceCode()));
    auto noEndpoint = deviceCode();
    noEndpoint.deviceAuthURL = "";
    EXPECT_EQ("The device authorization URL is missing or invalid.", obtain(noEndpoint));
}

}  // namespace
}  // namespace tessaline
