#include "model/OAuth2Config.hpp"

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

}  // namespace tessaline
