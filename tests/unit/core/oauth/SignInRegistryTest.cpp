#include "core/oauth/SignInRegistry.hpp"

#include "OAuth2ServiceFixture.hpp"

#include <future>

namespace tessaline {
namespace {

// Sign-ins in the background, on the scripted authorization server, with a token endpoint that
// holds each poll until the test lets it answer.
class SignInRegistryTest : public OAuth2ServiceFixture {
protected:
    SignInRegistryTest() {
        scriptDevice(R"({"device_code":"d","user_code":"WDJB-MJHT","verification_uri":"URI","expires_in":600})", {});
        server.onToken = [this](const auto&) {
            answered.wait();
            return AuthorizationServer::Reply(200, R"({"access_token":"device-token"})");
        };
    }
    ~SignInRegistryTest() override { answer.set_value(); }

    std::promise<void> answer;
    std::shared_future<void> answered = answer.get_future().share();
    SignInRegistry registry{service, {.now = [this] { return now(); }}};
};

TEST_F(SignInRegistryTest, ASecondBeginJoinsTheRunningSignInWhichStoresItsToken) {
    const auto key = deviceCode().cacheKey();
    const auto first = registry.begin(deviceCode());
    EXPECT_EQ(first, registry.begin(deviceCode()));
    EXPECT_EQ(1u, server.requests("/device").size());
    const auto request = first->request();
    ASSERT_TRUE(request);
    EXPECT_EQ("WDJB-MJHT", std::get<OAuth2DeviceCode>(request->prompt).userCode);
    EXPECT_EQ(noon + seconds(600), request->deadline);

    answer.set_value();
    answer = {};
    EXPECT_TRUE(first->waitForEnd(std::chrono::seconds(10)));
    EXPECT_EQ("device-token", first->outcome().accessToken);
    EXPECT_EQ("device-token", cache.tokenForKey(key)->accessToken);
    EXPECT_EQ(first, registry.find(key));  // until someone takes note of the outcome
    registry.forget(key, first);
    EXPECT_EQ(nullptr, registry.find(key));
}

TEST_F(SignInRegistryTest, EndingOrClosingCancelsSignInsAndThoseBegunAfterClosing) {
    const auto key = deviceCode().cacheKey();
    const auto ended = registry.begin(deviceCode());
    registry.end(key);
    EXPECT_EQ(nullptr, registry.find(key));
    answer.set_value();
    answer = {};
    EXPECT_TRUE(ended->waitForEnd(std::chrono::seconds(10)));
    EXPECT_EQ("Sign-in was cancelled.", thrownText([&] { ended->outcome(); }));

    registry.close();
    const auto late = registry.begin(authorizationCode("http://localhost/callback"));
    EXPECT_TRUE(late->waitForEnd(std::chrono::seconds(10)));
    EXPECT_EQ("Sign-in was cancelled.", thrownText([&] { late->outcome(); }));
    EXPECT_EQ(std::nullopt, cache.tokenForKey(key));
}

TEST(SignInRegistryRunsHereTest, OnlyGrantsThatNeedNothingButAPromptRunHere) {
    const auto config = [](OAuth2Grant grant, std::string redirectURI = "") {
        return OAuth2ResolvedConfig{{.grant = grant, .redirectURI = std::move(redirectURI)}};
    };
    EXPECT_TRUE(SignInRegistry::runsHere(config(OAuth2Grant::deviceCode)));
    EXPECT_TRUE(SignInRegistry::runsHere(config(OAuth2Grant::authorizationCode, "http://127.0.0.1:8765/cb")));
    EXPECT_TRUE(SignInRegistry::runsHere(config(OAuth2Grant::authorizationCode, "http://localhost/")));
    EXPECT_FALSE(SignInRegistry::runsHere(config(OAuth2Grant::authorizationCode, "tessaline://oauth/callback")));
    EXPECT_FALSE(SignInRegistry::runsHere(config(OAuth2Grant::authorizationCode, "https://app.example.com/cb")));
    EXPECT_FALSE(SignInRegistry::runsHere(config(OAuth2Grant::clientCredentials)));
}

}  // namespace
}  // namespace tessaline
