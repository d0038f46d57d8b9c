#pragma once

#include "core/model/OAuth2Config.hpp"
#include "core/support/Error.hpp"

#include <optional>
#include <string>

namespace tessaline {

// A failure to obtain an OAuth 2 token, other than a transport failure of the HTTP client.
// what() is the text shown to the user.
class OAuth2Error : public Error {
public:
    enum class Kind { invalidConfig, server, invalidResponse, interactionRequired, stateMismatch, cancelled, timedOut };

    static OAuth2Error invalidConfig(const std::string& message);
    // The authorization server's answer; `status` 0 when it came through a redirect.
    static OAuth2Error server(const std::string& code, const std::optional<std::string>& description, long status);
    static OAuth2Error invalidResponse(const std::string& message);
    static OAuth2Error interactionRequired(OAuth2Grant grant);
    static OAuth2Error stateMismatch();
    static OAuth2Error cancelled();
    static OAuth2Error timedOut();

    // The same error in storage of its own: a copied runtime_error shares its text, counted
    // inside libstdc++, with the original, which another thread may still hold.
    OAuth2Error unshared() const { return OAuth2Error(errorKind, std::string(what()), serverErrorCode); }

    Kind kind() const { return errorKind; }
    // The server's error code ("invalid_grant", "slow_down", "http_502"); empty for other kinds.
    const std::string& serverCode() const { return serverErrorCode; }

private:
    OAuth2Error(Kind kind, const std::string& description, std::string serverCode = {});

    Kind errorKind;
    std::string serverErrorCode;
};

}  // namespace tessaline
