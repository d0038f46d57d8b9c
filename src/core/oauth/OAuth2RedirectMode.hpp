#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tessaline {

// How the browser's redirect back from the authorization server is caught, read off the
// redirect URI.
class OAuth2RedirectMode {
public:
    // A listener on 127.0.0.1 receives it; no port means any free port.
    struct Loopback {
        std::optional<std::uint16_t> port{};
        std::string path = "/";
        bool operator==(const Loopback&) const = default;
    };
    // The system browser sheet catches the navigation to "<scheme>://".
    struct CustomScheme {
        std::string scheme{};
        bool operator==(const CustomScheme&) const = default;
    };
    // An in-app browser catches the redirect before it loads.
    struct Embedded {
        bool operator==(const Embedded&) const = default;
    };
    using Value = std::variant<Loopback, CustomScheme, Embedded>;

    // Plain http to 127.0.0.1, localhost or ::1 is loopback, any other http or https URL is
    // embedded, another scheme is a custom scheme, and text without a scheme is embedded.
    explicit OAuth2RedirectMode(std::string_view redirectURI);
    OAuth2RedirectMode(Value value) : mode(std::move(value)) {}

    const Value& value() const { return mode; }
    // One line for the user saying how the redirect will be caught.
    std::string summary() const;

    bool operator==(const OAuth2RedirectMode&) const = default;

private:
    Value mode;
};

}  // namespace tessaline
