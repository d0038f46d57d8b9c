#include "core/oauth/OAuth2ResponseBody.hpp"

#include "core/oauth/OAuth2Error.hpp"
#include "core/support/FormFields.hpp"
#include "core/support/Utf8.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tessaline {
namespace {

constexpr std::size_t quotedBytes = 300;
// Lifetimes are kept within about 30 years either way, so that an absurd `expires_in` cannot
// carry a date beyond what Date holds.
constexpr double longestLifetime = 1e9;

nlohmann::json members(const std::string& body) {
    auto parsed = nlohmann::json::parse(body, nullptr, false);
    if (parsed.is_object()) return parsed;
    nlohmann::json fields = nlohmann::json::object();
    for (auto& [name, value] : formFields::decoded(utf8::repaired(body), formFields::Blank::escaped)) {
        fields.emplace(utf8::repaired(name), utf8::repaired(value));
    }
    return fields;
}

std::optional<double> parsedNumber(const std::string& text) {
    if (text.empty()) return std::nullopt;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

}  // namespace

OAuth2ResponseBody::OAuth2ResponseBody(long status, std::string body)
    : httpStatus(status), bodyText(std::move(body)), parsedMembers(members(bodyText)) {}

std::optional<std::string> OAuth2ResponseBody::text(std::string_view name) const {
    const auto found = parsedMembers.find(name);
    if (found == parsedMembers.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

std::optional<double> OAuth2ResponseBody::number(std::string_view name) const {
    const auto found = parsedMembers.find(name);
    if (found == parsedMembers.end()) return std::nullopt;
    if (found->is_number()) return found->get<double>();
    if (found->is_string()) return parsedNumber(found->get<std::string>());
    return std::nullopt;
}

std::string OAuth2ResponseBody::start() const { return utf8::repaired(std::string_view(bodyText).substr(0, quotedBytes)); }

void OAuth2ResponseBody::failOnErrorMember() const {
    if (const auto code = text("error")) throw OAuth2Error::server(*code, text("error_description"), httpStatus);
}

OAuth2Token OAuth2ResponseBody::token(Date now) const {
    failOnErrorMember();
    if (httpStatus >= 400) {
        const auto description = start();
        throw OAuth2Error::server("http_" + std::to_string(httpStatus),
                                  description.empty() ? std::nullopt : std::optional(description), httpStatus);
    }
    const auto accessToken = text("access_token");
    if (!accessToken || accessToken->empty()) throw OAuth2Error::invalidResponse("no access_token in " + start());

    std::optional<Date> expiresAt;
    if (const auto seconds = number("expires_in")) {
        const auto lifetime = std::chrono::duration<double>(std::clamp(*seconds, -longestLifetime, longestLifetime));
        expiresAt = now + std::chrono::duration_cast<Date::duration>(lifetime);
    }
    return {
        .accessToken = *accessToken,
        .tokenType = text("token_type").value_or("Bearer"),
        .refreshToken = text("refresh_token"),
        .idToken = text("id_token"),
        .scope = text("scope"),
        .expiresAt = expiresAt,
        .obtainedAt = now,
    };
}

}  // namespace tessaline
