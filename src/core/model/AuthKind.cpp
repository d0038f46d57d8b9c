#include "core/model/AuthKind.hpp"

namespace tessaline {

std::string_view label(AuthKind kind) {
    switch (kind) {
    case AuthKind::none: return "No Auth";
    case AuthKind::inherit: return "Inherit from Collection";
    case AuthKind::bearer: return "Bearer Token";
    case AuthKind::basic: return "Basic Auth";
    case AuthKind::apiKey: return "API Key";
    case AuthKind::oauth2: return "OAuth 2.0";
    }
    return {};
}

}  // namespace tessaline
