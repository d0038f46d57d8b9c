#pragma once

#include "core/model/OAuth2GrantSettings.hpp"
#include "core/model/OAuth2PlacementSettings.hpp"

namespace tessaline {

// The OAuth 2 settings of an Auth: how to obtain a token, and where to put it. Every field
// has a default, so `OAuth2Config{}` is the configuration a new OAuth 2 auth starts with and
// also what an empty JSON object reads as. Written as {{grant settings}, {placement}}:
//
//     OAuth2Config{{.grant = OAuth2Grant::clientCredentials, .tokenURL = url}, {.placement = OAuth2TokenPlacement::query}}
struct OAuth2Config : OAuth2GrantSettings, OAuth2PlacementSettings {
    bool operator==(const OAuth2Config&) const = default;
};

}  // namespace tessaline
