#pragma once

#include "core/model/Auth.hpp"

#include <nlohmann/json.hpp>

#include <optional>

// An Auth in a Postman collection's "auth" object, both ways.
//
// The object's "type" is the kind; the attribute list of every kind whose fields hold
// anything is written beside it ("bearer", "basic", "apikey", "oauth2"), as Postman keeps
// them too, so that switching kinds after an import loses nothing. OAuth 2 settings use
// Postman's attribute names where it has one (grant_type, authUrl, accessTokenUrl, clientId,
// clientSecret, scope, redirect_uri, client_authentication, addTokenTo, headerPrefix,
// authRequestParams, tokenRequestParams, ...) and names of their own for the rest
// (deviceAuthUrl, refreshToken, queryParamName, usePkce, useIdToken).
namespace tessaline::postmanAuth {

// Absent for `inherit`: a request without auth inherits in Postman too.
std::optional<nlohmann::json> document(const Auth& auth);

// Reads v2.1 attribute lists and v2.0 attribute objects alike. Kinds this model has no
// place for (digest, oauth1, hawk, ...) read as none.
Auth read(const nlohmann::json& auth);

}  // namespace tessaline::postmanAuth
