#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// A URL as a user types it, cut into its parts without judging them: a host may be a
// {{variable}}, a URL may have no scheme or be relative ("/users"), and nothing is decoded.
// text() puts the parts back together into the same text.
struct URLText {
    std::string scheme{};     // without "://"; empty when the text has none
    std::string authority{};  // user information, host and port as written
    std::string path{};       // from the first "/" after the authority, or empty
    std::optional<std::string> query{};     // after "?", without it
    std::optional<std::string> fragment{};  // after "#", without it

    static URLText parse(std::string_view text);
    std::string text() const;

    // The authority without user information and port.
    std::string host() const;
    // The port, or empty.
    std::string port() const;
};

}  // namespace tessaline
