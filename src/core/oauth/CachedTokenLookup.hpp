#pragma once

#include "core/model/OAuth2Config.hpp"
#include "core/oauth/OAuth2TokenCache.hpp"
#include "core/variables/VariableResolver.hpp"

#include <functional>
#include <optional>
#include <string>

namespace tessaline {

// The token text to place on a request with these OAuth 2 settings: the cached token of the
// settings resolved with the resolver, its ID token when the settings ask for that and it has
// one, else its access token; absent when nothing is cached. Expiry is not checked here:
// obtaining a fresh token is the caller's job before building the request.
using CachedTokenLookup =
    std::function<std::optional<std::string>(const OAuth2Config& settings, const VariableResolver& resolver)>;

// A lookup in the cache, which must outlive it; fits requestBuilder::resolve's `tokens`.
CachedTokenLookup cachedTokenLookup(OAuth2TokenCache& cache);

// A lookup that gives the token in hand (the one just obtained for the request being built,
// or none), without reading the cache again; `token` must outlive it.
CachedTokenLookup heldTokenLookup(const std::optional<OAuth2Token>& token);

}  // namespace tessaline
