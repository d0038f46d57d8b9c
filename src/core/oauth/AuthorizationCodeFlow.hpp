#pragma once

#include "core/model/OAuth2Token.hpp"
#include "core/oauth/OAuth2Interaction.hpp"
#include "core/oauth/OAuth2Timing.hpp"
#include "core/oauth/TokenEndpoint.hpp"

// The authorization code grant: a person signs in through a browser, the authorization
// server redirects back with a code, and the code is exchanged for a token.
namespace tessaline::authorizationCodeFlow {

// The authorization request carries the authorization URL's own query items, then
// response_type, client_id, redirect_uri, a random state, the scope (when set), a PKCE S256
// challenge (when on) and the configuration's authorization parameters. A loopback redirect
// is received on 127.0.0.1, at the port of the redirect URI or any free one, which then goes
// into the redirect URI, while a prompt asks the person to sign in in the system browser, for
// at most timing.loopbackTimeout; other redirects are caught by the interaction's own browser.
// Throws OAuth2Error, or the token request's transport failure.
OAuth2Token run(const TokenEndpoint& endpoint, OAuth2Interaction& interaction, const OAuth2Timing& timing);

}  // namespace tessaline::authorizationCodeFlow
