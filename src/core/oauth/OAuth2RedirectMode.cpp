#include "core/oauth/OAuth2RedirectMode.hpp"

#include "core/http/URLComponents.hpp"
#include "core/support/Overloaded.hpp"

#include <algorithm>
#include <array>
#include <cctype>

namespace tessaline {
namespace {

bool isLoopbackHost(std::string host) {
    std::transform(host.begin(), host.end(), host.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    constexpr std::array<std::string_view, 4> hosts{"127.0.0.1", "localhost", "[::1]", "::1"};
    return std::find(hosts.begin(), hosts.end(), host) != hosts.end();
}

OAuth2RedirectMode::Value classified(std::string_view redirectURI) {
    const auto scheme = URLComponents::schemeOf(redirectURI);
    if (!scheme) return OAuth2RedirectMode::Embedded{};
    if (*scheme != "http" && *scheme != "https") return OAuth2RedirectMode::CustomScheme{*scheme};
    const auto url = URLComponents::parse(redirectURI);
    if (!url) return OAuth2RedirectMode::Embedded{};
    if (*scheme == "http" && isLoopbackHost(url->host().value_or(""))) {
        return OAuth2RedirectMode::Loopback{url->port(), url->path()};
    }
    return OAuth2RedirectMode::Embedded{};
}

}  // namespace

OAuth2RedirectMode::OAuth2RedirectMode(std::string_view redirectURI) : mode(classified(redirectURI)) {}

std::string OAuth2RedirectMode::summary() const {
    return std::visit(
        Overloaded{
            [](const Loopback& loopback) -> std::string {
                if (!loopback.port) return "Local redirect — Tessaline listens on a free 127.0.0.1 port for the reply.";
                return "Local redirect — Tessaline listens on 127.0.0.1:" + std::to_string(*loopback.port) +
                       " for the reply.";
            },
            [](const CustomScheme& custom) -> std::string {
                return "Opens the system browser sheet and catches the " + custom.scheme + ":// redirect.";
            },
            [](const Embedded&) -> std::string {
                return "Opens an in-app browser and catches the redirect before it loads.";
            },
        },
        mode);
}

}  // namespace tessaline
