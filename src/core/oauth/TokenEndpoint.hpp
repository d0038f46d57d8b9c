#pragma once

#include "core/model/OAuth2Token.hpp"
#include "core/oauth/OAuth2ResolvedConfig.hpp"
#include "core/oauth/OAuth2ResponseBody.hpp"
#include "core/support/Clock.hpp"
#include "core/support/FormFields.hpp"

#include <string>

namespace tessaline {

// Form posts to an authorization server's token and device authorization endpoints on
// behalf of one configuration. Every post carries, after the given fields, the
// configuration's token parameters and the client's credentials: an HTTP Basic header when
// the client authenticates that way and has a secret, else `client_id` (and `client_secret`
// when there is one) as fields. A transport failure throws tessaline::Error with the HTTP
// client's text.
class TokenEndpoint {
public:
    // Keeps a reference to the configuration.
    TokenEndpoint(const OAuth2ResolvedConfig& config, Clock now);

    const OAuth2ResolvedConfig& config() const { return resolved; }

    OAuth2ResponseBody post(const std::string& url, formFields::Fields fields) const;

    // Posts the fields to the token URL and reads the token out of the answer. Throws
    // OAuth2Error (invalidConfig for a missing or invalid token URL).
    OAuth2Token requestToken(formFields::Fields fields) const;

    // Exchanges a refresh token for a new token, which keeps the refresh token used when the
    // server issues none (servers that do not rotate them).
    OAuth2Token refresh(const std::string& refreshToken) const;

private:
    const OAuth2ResolvedConfig& resolved;
    Clock clock;
};

}  // namespace tessaline
