#include "oauth/CachedTokenLookup.hpp"

#include "oauth/OAuth2ResolvedConfig.hpp"

namespace tessaline {

CachedTokenLookup cachedTokenLookup(OAuth2TokenCache& cache) {
    return [&cache](const OAuth2Config& settings, const VariableResolver& resolver) -> std::optional<std::string> {
        const auto token = cache.tokenForKey(resolved(settings, resolver).cacheKey());
        if (!token) return std::nullopt;
        if (settings.useIDToken && token->idToken) return token->idToken;
        return token->accessToken;
    };
}

}  // namespace tessaline
