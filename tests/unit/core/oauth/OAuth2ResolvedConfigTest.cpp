#include "core/oauth/OAuth2ResolvedConfig.hpp"

#include "core/oauth/CachedTokenLookup.hpp"
#include "core/oauth/OAuth2RedirectMode.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

VariableResolver resolverWith(std::vector<KeyValue> variables) { return VariableResolver{.scopes = {std::move(variables)}}; }

TEST(OAuth2ResolvedConfigTest, ResolutionSubstitutesAndTrimsAllButTheSecretsAndNamesWhatIsUndefinedInActiveFieldsOnce) {
    const OAuth2Config config{{.grant = OAuth2Grant::password, .authURL = " https://{{host}}/authorize\n", .tokenURL = "https://{{host}}/token",
                              .clientID = "  {{id}}  ", .clientSecret = "  {{secret}} ", .scope = "\tread ", .redirectURI = " {{empty}} ",
                              .usePKCE = false, .clientAuth = OAuth2ClientAuth::body, .username = " ann ", .password = " {{secret}} ",
                              .refreshToken = " r ",
                              .authParams = {{.key = " {{k}} ", .value = " {{v}} "}, {.key = "off", .value = "x", .enabled = false}, {.key = "", .value = "no key"}},
                              .tokenParams = {{.key = "audience", .value = "{{v}}"}}}, {}};
    const auto resolver = resolverWith({{.key = "host", .value = "auth.example"}, {.key = "id", .value = "client "}, {.key = "secret", .value = " s3 "},
                                        {.key = "empty"}, {.key = "k", .value = "prompt"}, {.key = "v", .value = "consent"}});
    auto prompt = config.authParams[0];  // the rows keep their ids
    prompt.key = "prompt";
    prompt.value = " consent ";
    auto audience = config.tokenParams[0];
    audience.value = "consent";
    EXPECT_EQ((OAuth2ResolvedConfig{{.grant = OAuth2Grant::password, .authURL = "https://auth.example/authorize", .tokenURL = "https://auth.example/token",
                                    .clientID = "client", .clientSecret = "   s3  ", .scope = "read", .redirectURI = "tessaline://oauth/callback",
                                    .usePKCE = false, .clientAuth = OAuth2ClientAuth::body, .username = "ann", .password = "  s3  ",
                                    .refreshToken = "r", .authParams = {prompt}, .tokenParams = {audience}}}),
              resolved(config, resolver));
    EXPECT_EQ("http://127.0.0.1/cb", resolved(OAuth2Config{{.redirectURI = "http://127.0.0.1/cb "}, {}}, {}).redirectURI);

    // Undefined names come from the fields the grant uses, each once.
    const OAuth2Config partly{{.grant = OAuth2Grant::clientCredentials, .authURL = "{{unusedByThisGrant}}",
                              .tokenURL = "https://{{domain}}/{{tenant}}/token", .clientID = "{{known}}", .clientSecret = "{{domain}}",
                              .username = "{{alsoUnused}}", .authParams = {{.key = "x", .value = "{{off}}", .enabled = false}},
                              .tokenParams = {{.key = "audience", .value = "{{audience}} {{$uuid}}"}}}, {}};
    EXPECT_EQ((std::vector<std::string>{"domain", "tenant", "audience"}), unresolvedNames(partly, resolverWith({{.key = "known", .value = "k"}})));
}

// The key names the token's slot in a file the desktop client shares: its value must not move.
// Every field is set, each to its own value, so that any change to what is hashed moves it.
TEST(OAuth2ResolvedConfigTest, CacheKeyHashesTheIdentifyingFields) {
    const OAuth2ResolvedConfig config{{.grant = OAuth2Grant::clientCredentials, .authURL = "https://auth.example/authorize",
                                      .tokenURL = "https://auth.example/token", .deviceAuthURL = "https://auth.example/device", .clientID = "my-client",
                                      .clientSecret = "s3cret", .scope = "read write", .redirectURI = "http://127.0.0.1:9/x", .usePKCE = false,
                                      .clientAuth = OAuth2ClientAuth::body, .username = "ann", .password = "pw", .refreshToken = "r",
                                      .authParams = {{.key = "prompt", .value = "consent"}}, .tokenParams = {{.key = "audience", .value = "api"}}}};
    EXPECT_EQ("fc14db9af64e25c96bb5058027038db6", config.cacheKey());
    EXPECT_EQ("6ab238a2d2c914ed2bdf59f4d469d393", OAuth2ResolvedConfig{}.cacheKey());
}

// The settings are resolved to find their slot: where the token goes and blanks around the
// client id do not count, the variables' values do.
TEST(CachedTokenLookupTest, FindsTheTokenOfTheResolvedSettingsAndItsIDTokenWhenAsked) {
    const OAuth2Config settings{{.grant = OAuth2Grant::clientCredentials, .tokenURL = "https://{{host}}/token", .clientID = " app "}, {}};
    const VariableResolver resolver{.scopes = {{{.key = "host", .value = "auth.test"}}}};
    OAuth2TokenCache cache(std::nullopt);
    const auto key = resolved(settings, resolver).cacheKey();
    cache.set({.accessToken = "access", .idToken = "id"}, key, "label");
    const auto lookup = cachedTokenLookup(cache);

    auto same = settings;
    same.placement = OAuth2TokenPlacement::query;
    same.clientID = "app";
    EXPECT_EQ("access", lookup(same, resolver));
    EXPECT_EQ(std::nullopt, lookup(settings, VariableResolver{.scopes = {{{.key = "host", .value = "other.test"}}}}));
    same.useIDToken = true;
    EXPECT_EQ("id", lookup(same, resolver));
    cache.set({.accessToken = "access"}, key, "label");
    EXPECT_EQ("access", lookup(same, resolver));
}

TEST(OAuth2RedirectModeTest, PlainHTTPToThisMachineIsLoopbackAnotherSchemeIsCustomAndTheRestEmbedded) {
    using Mode = OAuth2RedirectMode;
    const std::pair<const char*, Mode::Value> cases[] = {
        {"http://localhost:8080", Mode::Loopback{8080, "/"}},      {"HTTP://LOCALHOST/cb?x=1", Mode::Loopback{std::nullopt, "/cb"}},
        {"http://[::1]:53682/", Mode::Loopback{53682, "/"}},        {"https://127.0.0.1/cb", Mode::Embedded{}},
        {"http://example.com/cb", Mode::Embedded{}},                {"http://local host/", Mode::Embedded{}},
        {"/callback", Mode::Embedded{}},                            {"1app://x", Mode::Embedded{}},
        {"MyApp://cb", Mode::CustomScheme{"myapp"}},                {"a+b-c:x", Mode::CustomScheme{"a+b-c"}},
        {"com.Example.app:/oauth2redirect", Mode::CustomScheme{"com.example.app"}},
    };
    for (const auto& [uri, expected] : cases) EXPECT_EQ(Mode(expected), Mode(uri)) << uri;
}

}  // namespace
}  // namespace tessaline
