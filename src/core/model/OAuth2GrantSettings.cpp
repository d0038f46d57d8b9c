#include "core/model/OAuth2GrantSettings.hpp"

namespace tessaline {

std::string_view displayName(OAuth2Grant grant) {
    switch (grant) {
    case OAuth2Grant::authorizationCode: return "Authorization Code";
    case OAuth2Grant::clientCredentials: return "Client Credentials";
    case OAuth2Grant::password: return "Password";
    case OAuth2Grant::deviceCode: return "Device Code";
    case OAuth2Grant::refreshToken: return "Refresh Token";
    }
    return {};
}

bool isInteractive(OAuth2Grant grant) {
    return grant == OAuth2Grant::authorizationCode || grant == OAuth2Grant::deviceCode;
}

}  // namespace tessaline
