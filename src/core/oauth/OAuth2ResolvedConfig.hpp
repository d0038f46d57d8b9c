#pragma once

#include "core/model/KeyValue.hpp"
#include "core/model/OAuth2Config.hpp"
#include "core/variables/VariableResolver.hpp"

#include <string>
#include <vector>

namespace tessaline {

// The grant settings of an OAuth2Config after variable substitution: what obtaining a token
// works on. Where the token goes on a request (OAuth2PlacementSettings) is not part of it.
// Its authParams and tokenParams hold enabled rows with a key only.
struct OAuth2ResolvedConfig : OAuth2GrantSettings {

    // Names the token cache slot: 32 lower-case hexadecimal digits of a SHA-256 over the grant,
    // the endpoints, the client, the scope, the user name, the refresh token and the extra
    // parameters. The redirect URI, PKCE, the client authentication and the password are
    // left out on purpose, so that changing them keeps the cached token.
    std::string cacheKey() const;
    // "<token endpoint host> · <client id or grant name>", for listings of cached tokens.
    std::string label() const;

    bool operator==(const OAuth2ResolvedConfig&) const = default;
};

// The redirect URI used when a configuration leaves it empty.
inline constexpr std::string_view defaultRedirectURI = "tessaline://oauth/callback";

// Every text substituted and trimmed, except the client secret and the password, which may
// rightly begin or end with blanks; disabled and key-less parameter rows dropped, the others'
// keys trimmed and values not. Undefined variables stay in the text as written.
OAuth2ResolvedConfig resolved(const OAuth2Config& config, const VariableResolver& resolver);

// The texts the configuration's grant actually uses: token URL, client id and secret, scope,
// the grant's own fields, then the values of the enabled parameter rows.
std::vector<std::string> activeFields(const OAuth2Config& config);

// The undefined variables named in activeFields(), each once, in order of first appearance.
std::vector<std::string> unresolvedNames(const OAuth2Config& config, const VariableResolver& resolver);

}  // namespace tessaline
