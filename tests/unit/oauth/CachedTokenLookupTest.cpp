#include "oauth/CachedTokenLookup.hpp"

#include "oauth/OAuth2ResolvedConfig.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

// The settings are resolved to find their slot: where the token goes and blanks around the
// client id do not count, the scope and the variables' values do.
TEST(CachedTokenLookupTest, FindsTheTokenOfTheResolvedSettingsAndItsIDTokenWhenAsked) {
    const OAuth2Config settings{.grant = OAuth2Grant::clientCredentials, .tokenURL = "https://{{host}}/token", .clientID = " app "};
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
    same.scope = "admin";
    EXPECT_EQ(std::nullopt, lookup(same, resolver));
}

}  // namespace
}  // namespace tessaline
