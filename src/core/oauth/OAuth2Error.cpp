#include "core/oauth/OAuth2Error.hpp"

namespace tessaline {

OAuth2Error::OAuth2Error(Kind kind, const std::string& description, std::string serverCode)
    : Error(description), errorKind(kind), serverErrorCode(std::move(serverCode)) {}

OAuth2Error OAuth2Error::invalidConfig(const std::string& message) { return {Kind::invalidConfig, message}; }

OAuth2Error OAuth2Error::server(const std::string& code, const std::optional<std::string>& description, long status) {
    std::string text = "OAuth 2 error " + code;
    if (description) text += ": " + *description;
    if (status >= 1) text += " (HTTP " + std::to_string(status) + ")";
    return {Kind::server, text, code};
}

OAuth2Error OAuth2Error::invalidResponse(const std::string& message) {
    return {Kind::invalidResponse, "Unexpected token response: " + message};
}

OAuth2Error OAuth2Error::interactionRequired(OAuth2Grant grant) {
    return {Kind::interactionRequired, "The " + std::string(displayName(grant)) +
                                           " grant needs a browser sign-in. Open Tessaline and press Get New Token."};
}

OAuth2Error OAuth2Error::stateMismatch() {
    return {Kind::stateMismatch,
            "The authorization response's state didn't match the request — sign-in was not completed."};
}

OAuth2Error OAuth2Error::cancelled() { return {Kind::cancelled, "Sign-in was cancelled."}; }

OAuth2Error OAuth2Error::timedOut() { return {Kind::timedOut, "Timed out waiting for the sign-in to finish."}; }

}  // namespace tessaline
