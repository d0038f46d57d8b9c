#pragma once

#include "core/model/OAuth2Token.hpp"
#include "core/oauth/OAuth2Interaction.hpp"
#include "core/oauth/OAuth2Timing.hpp"
#include "core/oauth/TokenEndpoint.hpp"

// The device authorization grant: the server hands out a code that a person enters on
// another device, and the token endpoint is polled until the person has done so.
namespace tessaline::deviceFlow {

// Shows the code through the interaction for as long as polling lasts. Polls every
// `interval` (5 s more after each "slow_down"), waiting in slices of at most a quarter of a
// second, after each of which a dismissed prompt ends the flow with OAuth2Error::cancelled
// and the code's expiry with OAuth2Error::timedOut; a token that a poll brings after the
// prompt was dismissed is dropped, and the flow is cancelled all the same. Throws
// OAuth2Error, or a transport failure.
OAuth2Token run(const TokenEndpoint& endpoint, OAuth2Interaction& interaction, const OAuth2Timing& timing);

}  // namespace tessaline::deviceFlow
