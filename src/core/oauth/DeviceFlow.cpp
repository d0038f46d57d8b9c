#include "core/oauth/DeviceFlow.hpp"

#include "core/http/URLComponents.hpp"
#include "core/oauth/OAuth2Error.hpp"

#include <algorithm>

namespace tessaline::deviceFlow {
namespace {

using Seconds = OAuth2Timing::Seconds;

constexpr Seconds slice{0.25};
constexpr Seconds slowDownStep{5.0};
constexpr Seconds defaultExpiry{900.0};
constexpr std::string_view deviceCodeGrant = "urn:ietf:params:oauth:grant-type:device_code";

struct DeviceAuthorization {
    std::string deviceCode;
    OAuth2DeviceCode shown;
};

DeviceAuthorization deviceAuthorization(const OAuth2ResponseBody& response, Seconds defaultInterval) {
    response.failOnErrorMember();
    const auto deviceCode = response.text("device_code");
    const auto userCode = response.text("user_code");
    auto verificationURI = response.text("verification_uri");
    if (!verificationURI) verificationURI = response.text("verification_url");
    if (!deviceCode || !userCode || !verificationURI || !URLComponents::parse(*verificationURI)) {
        throw OAuth2Error::invalidResponse(
            "device authorization response is missing device_code, user_code or verification_uri (HTTP " +
            std::to_string(response.status()) + ")");
    }
    const auto seconds = [&response](std::string_view name, Seconds fallback) {
        const auto value = response.number(name);
        return value ? Seconds(std::max(*value, 0.0)) : fallback;
    };
    return {*deviceCode,
            {.userCode = *userCode,
             .verificationURI = *verificationURI,
             .verificationURIComplete = response.text("verification_uri_complete"),
             .expiresIn = seconds("expires_in", defaultExpiry),
             .interval = seconds("interval", defaultInterval)}};
}

// Waits out one interval, or ends the flow.
void pause(Seconds interval, Date deadline, const OAuth2Interaction::ShownPrompt& prompt, const OAuth2Timing& timing) {
    Seconds waited{0};
    do {
        const auto step = std::min(slice, interval - waited);
        timing.sleep(step);
        waited += step;
        if (prompt.isCancelled()) throw OAuth2Error::cancelled();
        if (timing.now() >= deadline) throw OAuth2Error::timedOut();
    } while (waited < interval);
}

}  // namespace

OAuth2Token run(const TokenEndpoint& endpoint, OAuth2Interaction& interaction, const OAuth2Timing& timing) {
    const auto& config = endpoint.config();
    const auto url = URLComponents::parse(config.deviceAuthURL);
    if (!url || url->host().value_or("").empty()) {
        throw OAuth2Error::invalidConfig("The device authorization URL is missing or invalid.");
    }
    formFields::Fields fields;
    if (!config.scope.empty()) fields.emplace_back("scope", config.scope);
    const auto authorization = deviceAuthorization(endpoint.post(config.deviceAuthURL, fields), timing.defaultPollInterval);

    const OAuth2Interaction::ShownPrompt prompt(interaction, authorization.shown);
    const auto deadline =
        timing.now() + std::chrono::duration_cast<Date::duration>(std::min(authorization.shown.expiresIn, Seconds(1e9)));
    auto interval = authorization.shown.interval;
    while (true) {
        pause(interval, deadline, prompt, timing);
        try {
            auto token = endpoint.requestToken({{"grant_type", std::string(deviceCodeGrant)},
                                                {"device_code", authorization.deviceCode}});
            // Dismissed while the poll was on its way: the person no longer wants the token.
            if (prompt.isCancelled()) throw OAuth2Error::cancelled();
            return token;
        } catch (const OAuth2Error& error) {
            if (error.kind() != OAuth2Error::Kind::server) throw;
            if (error.serverCode() == "slow_down") {
                interval += slowDownStep;
            } else if (error.serverCode() != "authorization_pending") {
                throw;
            }
        }
    }
}

}  // namespace tessaline::deviceFlow
