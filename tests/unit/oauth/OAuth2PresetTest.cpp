#include "oauth/OAuth2Preset.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace tessaline {
namespace {

const OAuth2Preset& preset(std::string_view name) {
    const auto& all = OAuth2Preset::all();
    return *std::find_if(all.begin(), all.end(), [name](const OAuth2Preset& p) { return p.name == name; });
}

std::vector<std::string> keys(const std::vector<KeyValue>& rows) {
    std::vector<std::string> result;
    for (const auto& row : rows) result.push_back(row.key);
    return result;
}

TEST(OAuth2PresetTest, SixPresetsInOrderWithHTTPSEndpoints) {
    std::vector<std::string> names;
    for (const auto& p : OAuth2Preset::all()) {
        names.push_back(p.name);
        for (const auto* url : {&p.authURL, &p.tokenURL, &p.deviceAuthURL}) {
            EXPECT_TRUE(url->empty() || url->starts_with("https://")) << *url;
        }
    }
    EXPECT_EQ((std::vector<std::string>{"GitHub", "Google", "Microsoft Entra ID", "Auth0", "Okta", "Spotify"}), names);
    EXPECT_EQ("https://login.microsoftonline.com/{{tenantId}}/oauth2/v2.0/devicecode",
              preset("Microsoft Entra ID").deviceAuthURL);
    EXPECT_EQ("https://{{oktaDomain}}/oauth2/default/v1/device/authorize", preset("Okta").deviceAuthURL);
    EXPECT_EQ("", preset("Spotify").deviceAuthURL);
}

TEST(OAuth2PresetTest, ApplyOverwritesEndpointsAndKeepsTheRest) {
    OAuth2Config config{.grant = OAuth2Grant::deviceCode,
                        .deviceAuthURL = "https://old.example/device",
                        .clientID = "id",
                        .redirectURI = "http://127.0.0.1:8888/cb"};
    preset("Spotify").apply(config);
    EXPECT_EQ("https://accounts.spotify.com/authorize", config.authURL);
    EXPECT_EQ("https://accounts.spotify.com/api/token", config.tokenURL);
    EXPECT_EQ("", config.deviceAuthURL);
    EXPECT_EQ("user-read-private user-read-email", config.scope);
    EXPECT_EQ(OAuth2Grant::deviceCode, config.grant);
    EXPECT_EQ("id", config.clientID);
    EXPECT_EQ("http://127.0.0.1:8888/cb", config.redirectURI);
}

TEST(OAuth2PresetTest, ApplyKeepsAScopeAndAddsNoDuplicateRows) {
    OAuth2Config config{.scope = "mine", .authParams = {{.key = "audience", .value = "custom"}}};
    const auto& auth0 = preset("Auth0");
    auth0.apply(config);
    auth0.apply(config);
    EXPECT_EQ("mine", config.scope);
    EXPECT_EQ("https://{{auth0Domain}}/oauth/token", config.tokenURL);
    ASSERT_EQ(std::vector<std::string>{"audience"}, keys(config.authParams));
    EXPECT_EQ("custom", config.authParams[0].value);
    ASSERT_EQ(std::vector<std::string>{"audience"}, keys(config.tokenParams));
    EXPECT_EQ("{{audience}}", config.tokenParams[0].value);

    preset("Google").apply(config);
    EXPECT_EQ((std::vector<std::string>{"audience", "access_type", "prompt"}), keys(config.authParams));
    EXPECT_TRUE(config.authParams[2].enabled);
}

}  // namespace
}  // namespace tessaline
