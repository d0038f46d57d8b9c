#include "core/oauth/AuthorizationCodeFlow.hpp"

#include "core/http/URLComponents.hpp"
#include "core/oauth/LoopbackReceiver.hpp"
#include "core/oauth/OAuth2Error.hpp"
#include "core/oauth/PKCE.hpp"
#include "core/oauth/RedirectParameters.hpp"
#include "core/support/Overloaded.hpp"

#include <algorithm>

namespace tessaline::authorizationCodeFlow {
namespace {

struct AuthorizationRequest {
    const OAuth2ResolvedConfig& config;
    URLComponents endpoint;
    std::string verifier = pkce::randomText(32);
    std::string state = pkce::randomText(16);

    std::string url(const std::string& redirectURI) const {
        formFields::Fields fields{
            {"response_type", "code"}, {"client_id", config.clientID}, {"redirect_uri", redirectURI}, {"state", state}};
        if (!config.scope.empty()) fields.emplace_back("scope", config.scope);
        if (config.usePKCE) {
            fields.emplace_back("code_challenge", pkce::challenge(verifier));
            fields.emplace_back("code_challenge_method", "S256");
        }
        for (const auto& row : config.authParams) fields.emplace_back(row.key, row.value);

        auto url = endpoint;
        const auto existing = url.query().value_or("");
        url.setQuery(existing + (existing.empty() ? "" : "&") + formFields::encoded(fields, formFields::Blank::escaped));
        const auto text = url.text();
        if (!text) throw OAuth2Error::invalidConfig("The authorization URL is invalid.");
        return *text;
    }
};

struct Redirect {
    std::string url;          // where the browser was sent back to, with the answer
    std::string redirectURI;  // as the authorization request named it
};

// The redirect URI with the port replaced or added, and nothing else changed (a parser's
// re-assembly could add a "/" that the provider's registration lacks).
std::string withPort(const std::string& redirectURI, std::uint16_t port) {
    const auto authorityStart = redirectURI.find("://") + 3;
    const auto authorityEnd = std::min(redirectURI.find_first_of("/?#", authorityStart), redirectURI.size());
    const auto authority = std::string_view(redirectURI).substr(authorityStart, authorityEnd - authorityStart);
    const auto at = authority.rfind('@');
    const auto hostOffset = at == std::string_view::npos ? 0 : at + 1;
    const auto colon = authority.rfind(':');
    const bool hasPort = colon != std::string_view::npos && colon >= hostOffset &&
                         authority.find(']', colon) == std::string_view::npos;
    const auto hostEnd = hasPort ? authorityStart + colon : authorityEnd;
    return redirectURI.substr(0, hostEnd) + ":" + std::to_string(port) + redirectURI.substr(authorityEnd);
}

Redirect viaLoopback(const OAuth2RedirectMode::Loopback& loopback, const AuthorizationRequest& request,
                     OAuth2Interaction& interaction, const OAuth2Timing& timing) {
    const auto receiver = LoopbackReceiver::start(loopback.port, loopback.path);
    auto redirectURI = withPort(request.config.redirectURI, receiver->port());
    const OAuth2Interaction::ShownPrompt prompt(interaction, OAuth2BrowserPrompt{request.url(redirectURI)});
    auto url = receiver->wait(timing.loopbackTimeout, [&prompt] { return prompt.isCancelled(); });
    return {std::move(url), std::move(redirectURI)};
}

Redirect viaBrowser(const OAuth2RedirectMode& mode, const AuthorizationRequest& request, OAuth2Interaction& interaction) {
    const auto& redirectURI = request.config.redirectURI;
    return {interaction.signIn(request.url(redirectURI), redirectURI, mode), redirectURI};
}

}  // namespace

OAuth2Token run(const TokenEndpoint& endpoint, OAuth2Interaction& interaction, const OAuth2Timing& timing) {
    const auto& config = endpoint.config();
    auto authorizationEndpoint = URLComponents::parse(config.authURL);
    if (!authorizationEndpoint || authorizationEndpoint->host().value_or("").empty()) {
        throw OAuth2Error::invalidConfig("The authorization URL is missing or invalid.");
    }
    const AuthorizationRequest request{.config = config, .endpoint = std::move(*authorizationEndpoint)};
    const OAuth2RedirectMode mode(config.redirectURI);
    const auto redirect = std::visit(
        Overloaded{
            [&](const OAuth2RedirectMode::Loopback& loopback) {
                return viaLoopback(loopback, request, interaction, timing);
            },
            [&](const OAuth2RedirectMode::CustomScheme&) { return viaBrowser(mode, request, interaction); },
            [&](const OAuth2RedirectMode::Embedded&) { return viaBrowser(mode, request, interaction); },
        },
        mode.value());

    const auto parameters = redirectParameters(redirect.url);
    const auto parameter = [&parameters](const std::string& name) -> std::optional<std::string> {
        const auto found = parameters.find(name);
        if (found == parameters.end()) return std::nullopt;
        return found->second;
    };
    if (const auto error = parameter("error")) throw OAuth2Error::server(*error, parameter("error_description"), 0);
    const auto code = parameter("code");
    if (!code) throw OAuth2Error::invalidResponse("the redirect carried no authorization code");
    if (parameter("state") != request.state) throw OAuth2Error::stateMismatch();

    formFields::Fields fields{
        {"grant_type", "authorization_code"}, {"code", *code}, {"redirect_uri", redirect.redirectURI}};
    if (config.usePKCE) fields.emplace_back("code_verifier", request.verifier);
    return endpoint.requestToken(std::move(fields));
}

}  // namespace tessaline::authorizationCodeFlow
