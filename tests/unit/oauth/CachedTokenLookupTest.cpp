#include "oauth/CachedTokenLookup.hpp"

#include "oauth/OAuth2ResolvedConfig.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

class CachedTokenLookupTest : public testing::Test {
protected:
    void SetUp() override {
        const auto key = resolved(settings, resolver).cacheKey();
        cache.set({.accessToken = "access", .idToken = "id"}, key, "label");
    }

    const OAuth2Config settings{.grant = OAuth2Grant::clientCredentials,
                                .tokenURL = "https://{{host}}/token",
                                .clientID = " app "};
    const VariableResolver resolver{.scopes = {{{.key = "host", .value = "auth.test"}}}};
    OAuth2TokenCache cache{std::nullopt};
    const CachedTokenLookup lookup = cachedTokenLookup(cache);
};

TEST_F(CachedTokenLookupTest, FindsTheTokenOfTheResolvedSettings) {
    EXPECT_EQ("access", lookup(settings, resolver));
    auto placedElsewhere = settings;
    placedElsewhere.placement = OAuth2TokenPlacement::query;
    placedElsewhere.clientID = "app";
    EXPECT_EQ("access", lookup(placedElsewhere, resolver));

    auto otherScope = settings;
    otherScope.scope = "admin";
    EXPECT_FALSE(lookup(otherScope, resolver));
    EXPECT_FALSE(lookup(settings, VariableResolver{.scopes = {{{.key = "host", .value = "other.test"}}}}));
}

TEST_F(CachedTokenLookupTest, TheIDTokenWhenAskedForAndPresent) {
    auto idToken = settings;
    idToken.useIDToken = true;
    EXPECT_EQ("id", lookup(idToken, resolver));
    cache.set({.accessToken = "access"}, resolved(settings, resolver).cacheKey(), "label");
    EXPECT_EQ("access", lookup(idToken, resolver));
}

}  // namespace
}  // namespace tessaline
