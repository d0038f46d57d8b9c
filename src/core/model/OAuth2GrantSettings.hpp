#pragma once

#include "core/model/EnumStrings.hpp"
#include "core/model/KeyValue.hpp"

#include <string>
#include <vector>

namespace tessaline {

enum class OAuth2Grant { authorizationCode, clientCredentials, password, deviceCode, refreshToken };

template <>
struct EnumStrings<OAuth2Grant> {
    static constexpr std::array table{
        std::pair{OAuth2Grant::authorizationCode, std::string_view("authorizationCode")},
        std::pair{OAuth2Grant::clientCredentials, std::string_view("clientCredentials")},
        std::pair{OAuth2Grant::password, std::string_view("password")},
        std::pair{OAuth2Grant::deviceCode, std::string_view("deviceCode")},
        std::pair{OAuth2Grant::refreshToken, std::string_view("refreshToken")},
    };
};

// "Authorization Code", "Client Credentials", ...: the grant's name in labels.
std::string_view displayName(OAuth2Grant grant);

// Whether the grant needs a person: a browser sign-in, or a code entered on another device.
bool isInteractive(OAuth2Grant grant);

// How the client authenticates at the token endpoint: an HTTP Basic header with client id
// and secret, or both as form fields.
enum class OAuth2ClientAuth { basicHeader, body };

template <>
struct EnumStrings<OAuth2ClientAuth> {
    static constexpr std::array table{
        std::pair{OAuth2ClientAuth::basicHeader, std::string_view("basicHeader")},
        std::pair{OAuth2ClientAuth::body, std::string_view("body")},
    };
};

// How to obtain an OAuth 2 token: the part of an OAuth2Config that its resolved form
// (OAuth2ResolvedConfig) keeps.
struct OAuth2GrantSettings {
    OAuth2Grant grant = OAuth2Grant::authorizationCode;
    std::string authURL{};
    std::string tokenURL{};
    std::string deviceAuthURL{};
    std::string clientID{};
    std::string clientSecret{};
    std::string scope{};  // space-separated, sent as given
    std::string redirectURI{};  // empty: the tessaline:// custom-scheme redirect
    bool usePKCE = true;
    OAuth2ClientAuth clientAuth = OAuth2ClientAuth::basicHeader;
    std::string username{};
    std::string password{};
    std::string refreshToken{};
    std::vector<KeyValue> authParams{};   // extra query parameters of the authorization request
    std::vector<KeyValue> tokenParams{};  // extra form fields of every token request

    bool operator==(const OAuth2GrantSettings&) const = default;
};

}  // namespace tessaline
