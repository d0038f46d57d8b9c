#pragma once

#include "core/model/OAuth2Token.hpp"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// What a token or device authorization endpoint answered: the members of a JSON object, or,
// for servers that answer in form encoding without being asked, the fields of the body read
// as "name=value&...".
class OAuth2ResponseBody {
public:
    OAuth2ResponseBody(long status, std::string body);

    long status() const { return httpStatus; }

    // A member that is text.
    std::optional<std::string> text(std::string_view name) const;
    // A member that is a number, or text holding one ("3600").
    std::optional<double> number(std::string_view name) const;
    // The first 300 bytes of the body as text, for error messages.
    std::string start() const;

    // Throws OAuth2Error::server when the body names an `error`.
    void failOnErrorMember() const;

    // The token the body describes, received at `now`. Throws OAuth2Error::server for an
    // `error` member or an error status, and OAuth2Error::invalidResponse without an
    // `access_token`.
    OAuth2Token token(Date now) const;

private:
    long httpStatus;
    std::string bodyText;
    nlohmann::json parsedMembers;
};

}  // namespace tessaline
