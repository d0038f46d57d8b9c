#pragma once

#include "core/model/APIKeyLocation.hpp"
#include "core/model/AuthKind.hpp"
#include "core/model/OAuth2Config.hpp"

#include <optional>
#include <string>

namespace tessaline {

// The authorisation of a request or a collection. Every field is kept whatever the kind, so
// that switching kinds back and forth loses nothing. A default-constructed Auth is none().
struct Auth {
    AuthKind kind = AuthKind::none;
    std::string token{};  // bearer
    std::string username{};  // basic
    std::string password{};  // basic
    std::string apiKeyName = "X-API-Key";
    std::string apiKeyValue{};
    APIKeyLocation apiKeyIn = APIKeyLocation::header;
    std::optional<OAuth2Config> oauth2{};  // absent until the user first chooses OAuth 2

    static Auth none() { return {}; }

    bool operator==(const Auth&) const = default;
};

}  // namespace tessaline
