#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>

namespace tessaline {

// What a person needs to finish a device-flow sign-in on another device.
struct OAuth2DeviceCode {
    std::string userCode{};
    std::string verificationURI{};
    std::optional<std::string> verificationURIComplete{};  // with the code filled in
    std::chrono::duration<double> expiresIn{};
    std::chrono::duration<double> interval{};

    bool operator==(const OAuth2DeviceCode&) const = default;
};

// What the token service asks the user interface to show while a sign-in waits for a person:
// a device code to enter, or an authorization URL to open in the system browser.
struct OAuth2BrowserPrompt {
    std::string authorizationURL{};
    bool operator==(const OAuth2BrowserPrompt&) const = default;
};
using OAuth2Prompt = std::variant<OAuth2DeviceCode, OAuth2BrowserPrompt>;

}  // namespace tessaline
