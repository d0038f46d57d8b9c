#include "oauth/OAuth2ResolvedConfig.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

VariableResolver resolverWith(std::vector<KeyValue> variables) { return VariableResolver{.scopes = {std::move(variables)}}; }

TEST(OAuth2ResolvedConfigTest, ResolutionSubstitutesAndTrimsAllButTheSecrets) {
    const OAuth2Config config{
        .grant = OAuth2Grant::password,
        .authURL = " https://{{host}}/authorize\n",
        .tokenURL = "https://{{host}}/token",
        .clientID = "  {{id}}  ",
        .clientSecret = "  {{secret}} ",
        .scope = "\tread ",
        .usePKCE = false,
        .clientAuth = OAuth2ClientAuth::body,
        .username = " ann ",
        .password = " {{secret}} ",
        .refreshToken = " r ",
    };
    const auto resolver = resolverWith({{.key = "host", .value = "auth.example"},
                                        {.key = "id", .value = "client "},
                                        {.key = "secret", .value = " s3 "}});
    const auto result = resolved(config, resolver);
    EXPECT_EQ(OAuth2Grant::password, result.grant);
    EXPECT_EQ("https://auth.example/authorize", result.authURL);
    EXPECT_EQ("https://auth.example/token", result.tokenURL);
    EXPECT_EQ("client", result.clientID);
    EXPECT_EQ("   s3  ", result.clientSecret);
    EXPECT_EQ("read", result.scope);
    EXPECT_FALSE(result.usePKCE);
    EXPECT_EQ(OAuth2ClientAuth::body, result.clientAuth);
    EXPECT_EQ("ann", result.username);
    EXPECT_EQ("  s3  ", result.password);
    EXPECT_EQ("r", result.refreshToken);
}

TEST(OAuth2ResolvedConfigTest, AnEmptyRedirectBecomesTheSystemsOwnScheme) {
    EXPECT_EQ("tessaline://oauth/callback", resolved(OAuth2Config{.redirectURI = "  "}, {}).redirectURI);
    EXPECT_EQ("tessaline://oauth/callback", resolved(OAuth2Config{.redirectURI = "{{empty}}"},
                                                     resolverWith({{.key = "empty"}}))
                                                .redirectURI);
    EXPECT_EQ("http://127.0.0.1/cb", resolved(OAuth2Config{.redirectURI = "http://127.0.0.1/cb "}, {}).redirectURI);
}

TEST(OAuth2ResolvedConfigTest, ParameterRowsAreFilteredAndResolved) {
    const OAuth2Config config{
        .authParams = {{.key = " {{k}} ", .value = " {{v}} "},
                       {.key = "off", .value = "x", .enabled = false},
                       {.key = "", .value = "no key"}},
        .tokenParams = {{.key = "audience", .value = "{{v}}"}},
    };
    const auto result = resolved(config, resolverWith({{.key = "k", .value = "prompt"}, {.key = "v", .value = "consent"}}));
    ASSERT_EQ(1u, result.authParams.size());
    EXPECT_EQ("prompt", result.authParams[0].key);
    EXPECT_EQ(" consent ", result.authParams[0].value);
    EXPECT_EQ(config.authParams[0].id, result.authParams[0].id);
    ASSERT_EQ(1u, result.tokenParams.size());
    EXPECT_EQ("consent", result.tokenParams[0].value);
}

TEST(OAuth2ResolvedConfigTest, ActiveFieldsDependOnTheGrant) {
    OAuth2Config config{.authURL = "A", .tokenURL = "T", .deviceAuthURL = "D", .clientID = "I", .clientSecret = "S",
                        .scope = "C", .redirectURI = "R", .username = "U", .password = "P", .refreshToken = "F",
                        .authParams = {{.key = "a", .value = "av"}, {.key = "off", .value = "x", .enabled = false}},
                        .tokenParams = {{.key = "t", .value = "tv"}}};
    const std::pair<OAuth2Grant, std::vector<std::string>> cases[] = {
        {OAuth2Grant::authorizationCode, {"T", "I", "S", "C", "A", "R", "av", "tv"}},
        {OAuth2Grant::clientCredentials, {"T", "I", "S", "C", "av", "tv"}},
        {OAuth2Grant::password, {"T", "I", "S", "C", "U", "P", "av", "tv"}},
        {OAuth2Grant::deviceCode, {"T", "I", "S", "C", "D", "av", "tv"}},
        {OAuth2Grant::refreshToken, {"T", "I", "S", "C", "F", "av", "tv"}},
    };
    for (const auto& [grant, expected] : cases) {
        config.grant = grant;
        EXPECT_EQ(expected, activeFields(config)) << toString(grant);
    }
}

TEST(OAuth2ResolvedConfigTest, UnresolvedNamesComeFromActiveFieldsOnlyAndOnce) {
    const OAuth2Config config{.grant = OAuth2Grant::clientCredentials,
                              .authURL = "{{unusedByThisGrant}}",
                              .tokenURL = "https://{{domain}}/{{tenant}}/token",
                              .clientID = "{{known}}",
                              .clientSecret = "{{domain}}",
                              .username = "{{alsoUnused}}",
                              .authParams = {{.key = "x", .value = "{{off}}", .enabled = false}},
                              .tokenParams = {{.key = "audience", .value = "{{audience}} {{$uuid}}"}}};
    EXPECT_EQ((std::vector<std::string>{"domain", "tenant", "audience"}),
              unresolvedNames(config, resolverWith({{.key = "known", .value = "k"}})));
}

TEST(OAuth2ResolvedConfigTest, CacheKeyHashesTheIdentifyingFields) {
    OAuth2ResolvedConfig config{.grant = OAuth2Grant::clientCredentials,
                                .tokenURL = "https://auth.example/token",
                                .clientID = "my-client",
                                .clientSecret = "s3cret",
                                .scope = "read write",
                                .authParams = {{.key = "prompt", .value = "consent"}},
                                .tokenParams = {{.key = "audience", .value = "api"}}};
    EXPECT_EQ("ce1617b8745e6062b3537690f3340b12", config.cacheKey());
    EXPECT_EQ("6ab238a2d2c914ed2bdf59f4d469d393", OAuth2ResolvedConfig{}.cacheKey());

    auto same = config;
    same.redirectURI = "http://127.0.0.1:9/x";
    same.usePKCE = false;
    same.clientAuth = OAuth2ClientAuth::body;
    same.password = "other";
    EXPECT_EQ(config.cacheKey(), same.cacheKey());

    const std::vector<std::function<void(OAuth2ResolvedConfig&)>> changes{
        [](auto& c) { c.grant = OAuth2Grant::password; },     [](auto& c) { c.authURL = "a"; },
        [](auto& c) { c.tokenURL += "2"; },                    [](auto& c) { c.deviceAuthURL = "d"; },
        [](auto& c) { c.clientID += "2"; },                    [](auto& c) { c.clientSecret += "2"; },
        [](auto& c) { c.scope += " x"; },                      [](auto& c) { c.username = "u"; },
        [](auto& c) { c.refreshToken = "r"; },                 [](auto& c) { c.authParams[0].value = "none"; },
        [](auto& c) { c.tokenParams[0].key = "resource"; },    [](auto& c) { c.tokenParams.clear(); },
    };
    for (std::size_t i = 0; i < changes.size(); ++i) {
        auto changed = config;
        changes[i](changed);
        EXPECT_NE(config.cacheKey(), changed.cacheKey()) << "change " << i;
    }
}

TEST(OAuth2ResolvedConfigTest, ADisabledParameterLeavesTheCacheKeyAlone) {
    OAuth2Config config{.tokenURL = "https://auth.example/token"};
    const auto before = resolved(config, {}).cacheKey();
    config.authParams.push_back({.key = "prompt", .value = "consent", .enabled = false});
    EXPECT_EQ(before, resolved(config, {}).cacheKey());
    config.authParams.back().enabled = true;
    EXPECT_NE(before, resolved(config, {}).cacheKey());
}

TEST(OAuth2ResolvedConfigTest, LabelNamesTheTokenHostAndTheClient) {
    EXPECT_EQ("auth.example · my-client",
              (OAuth2ResolvedConfig{.tokenURL = "https://auth.example/oauth/token", .clientID = "my-client"}.label()));
    EXPECT_EQ("not a url · Client Credentials",
              (OAuth2ResolvedConfig{.grant = OAuth2Grant::clientCredentials, .tokenURL = "not a url"}.label()));
    EXPECT_EQ(" · Authorization Code", OAuth2ResolvedConfig{}.label());
}

}  // namespace
}  // namespace tessaline
