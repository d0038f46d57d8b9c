#pragma once

#include "core/support/Date.hpp"
#include "core/support/JSONReader.hpp"
#include "core/support/JSONWriter.hpp"

#include <optional>
#include <string>

namespace tessaline {

// An access token as an authorization server issued it, with what came along.
struct OAuth2Token {
    std::string accessToken{};
    std::string tokenType = "Bearer";  // as the server sent it ("bearer" stays "bearer")
    std::optional<std::string> refreshToken{};
    std::optional<std::string> idToken{};
    std::optional<std::string> scope{};  // as granted
    std::optional<Date> expiresAt{};  // absent: no known expiry
    Date obtainedAt{};

    bool canRefresh() const { return refreshToken && !refreshToken->empty(); }

    // No expiry, or an expiry more than `leeway` seconds after `instant`.
    bool isUsable(Date instant, std::chrono::seconds leeway) const {
        return !expiresAt || *expiresAt > instant + leeway;
    }

    bool operator==(const OAuth2Token&) const = default;
};

// Keys are the field names, dates ISO 8601, absent optionals left out.
void write(JSONWriter& writer, const OAuth2Token& token);
OAuth2Token decodeOAuth2Token(const JSONReader& reader);

}  // namespace tessaline
