#include "core/oauth/CachedTokenLookup.hpp"

#include "core/oauth/OAuth2ResolvedConfig.hpp"

namespace tessaline {
namespace {

std::optional<std::string> placedText(const OAuth2Config& settings, const std::optional<OAuth2Token>& token) {
    if (!token) return std::nullopt;
    if (settings.useIDToken && token->idToken) return token->idToken;
    return token->accessToken;
}

}  // namespace

CachedTokenLookup cachedTokenLookup(OAuth2TokenCache& cache) {
    return [&cache](const OAuth2Config& settings, const VariableResolver& resolver) {
        return placedText(settings, cache.tokenForKey(resolved(settings, resolver).cacheKey()));
    };
}

CachedTokenLookup heldTokenLookup(const std::optional<OAuth2Token>& token) {
    // Held by reference, which keeps the closure small enough for std::function to store in place.
    return [&token](const OAuth2Config& settings, const VariableResolver&) { return placedText(settings, token); };
}

}  // namespace tessaline
