#include "server/mcp/OAuthTools.hpp"

#include "core/oauth/OAuth2ResolvedConfig.hpp"
#include "core/session/RequestSession.hpp"
#include "core/variables/RequestBuildError.hpp"
#include "server/mcp/SavedAnswer.hpp"
#include "server/mcp/SignInConversation.hpp"
#include "server/mcp/ToolArguments.hpp"
#include "server/mcp/ToolError.hpp"
#include "server/mcp/WorkspaceTools.hpp"

namespace tessaline {

using nlohmann::json;
namespace args = toolArguments;

namespace {

OAuth2Config settingsOf(const OAuthTools::Target& target) { return target.auth.oauth2.value_or(OAuth2Config{}); }

json report(const std::string& owner, const OAuth2ResolvedConfig& config, const OAuth2Token& token, bool reveal,
            Date now) {
    const bool valid = token.isUsable(now, OAuth2Service::leeway);
    json result = {{"owner", owner},
                   {"grant", toString(config.grant)},
                   {"tokenUrl", config.tokenURL},
                   {"clientId", config.clientID},
                   {"tokenType", token.tokenType},
                   {"valid", valid},
                   {"hasRefreshToken", token.canRefresh()},
                   {"obtainedAt", iso8601(token.obtainedAt)},
                   {"expiresAt", token.expiresAt ? json(iso8601(*token.expiresAt)) : json(nullptr)},
                   {"scope", token.scope ? json(*token.scope) : json(nullptr)},
                   {"accessToken", reveal ? token.accessToken : std::string(WorkspaceTools::secretMask)}};
    if (!valid) {
        result["hint"] = token.canRefresh()                  ? "The token has expired. Use action=refresh."
                         : SignInRegistry::runsHere(config) ? "The token has expired. Use action=new to sign in again."
                         : isInteractive(config.grant)
                             ? "The token has expired. Sign in again in the Tessaline app (Auth tab \u2192 Get New Token)."
                             : "The token has expired. Use action=new.";
    }
    return result;
}

}  // namespace

std::string OAuthTools::oauthToken(const json& arguments) {
    Target target;
    if (const auto requestName = args::text(arguments, "request")) {
        const RequestSession session(services.store, lookup.findRequest(requestName));
        target = {session.request().name, session.auth(), session.resolver()};
    } else if (const auto collectionName = args::text(arguments, "collection")) {
        const APICollection collection = lookup.findCollection(*collectionName);
        target = {collection.name, collection.auth, services.store.resolver(collection)};
    } else {
        throw ToolError("Pass request or collection");
    }
    if (target.auth.kind != AuthKind::oauth2) {
        throw ToolError(target.name + " uses " + std::string(label(target.auth.kind)) + ", not OAuth 2.0.");
    }
    services.store.oauthTokens().reloadIfChanged();

    const std::string action = args::text(arguments, "action").value_or("status");
    const bool reveal = args::flag(arguments, "reveal");
    if (action == "status") return status(target, reveal);
    if (action == "refresh" || action == "new") return obtain(target, action == "new", reveal);
    if (action == "clear") {
        const auto key = resolved(settingsOf(target), target.resolver).cacheKey();
        services.signIns.end(key);
        services.store.oauthTokens().remove(key);
        return savedAnswer({.failure = services.store.oauthTokens().saveFailure()},
                           "Cleared the cached OAuth 2 token for " + target.name);
    }
    throw ToolError("action must be status, refresh, new or clear");
}

std::string OAuthTools::status(const Target& target, bool reveal) {
    const OAuth2ResolvedConfig config = resolved(settingsOf(target), target.resolver);
    const auto key = config.cacheKey();
    if (const auto signIn = services.signIns.find(key)) {
        signIn->waitUntilStarted();
        if (!signIn->hasEnded()) return SignInConversation::runningText(*signIn->request(), target.name, target.resolver.now());
        services.signIns.forget(key, signIn);
        try {
            signIn->outcome();
        } catch (const std::exception& failure) {
            throw ToolError("The sign-in for " + target.name + " ended without a token: " + failure.what() +
                            "\nUse action=new to sign in again.");
        }
    }
    if (const auto token = services.store.oauthTokens().tokenForKey(key)) {
        return args::pretty(report(target.name, config, *token, reveal, target.resolver.now()));
    }
    if (SignInRegistry::runsHere(config)) return "No token yet. Use action=new to sign in.";
    return isInteractive(config.grant) ? "No token yet. Sign in once in the Tessaline app (Auth tab \u2192 Get New Token)."
                                       : "No token yet. Use action=new.";
}

std::string OAuthTools::obtain(const Target& target, bool renew, bool reveal) {
    const OAuth2Config settings = settingsOf(target);
    const OAuth2ResolvedConfig config = resolved(settings, target.resolver);
    OAuth2TokenCache& cache = services.store.oauthTokens();
    const auto key = config.cacheKey();
    const auto running = services.signIns.find(key);
    const bool joins = running && !running->hasEnded();
    if (renew && !joins) cache.remove(key);
    OAuth2Token token;
    if (renew && SignInRegistry::runsHere(config)) {
        if (auto names = unresolvedNames(settings, target.resolver); !names.empty()) {
            throw RequestBuildError::unresolvedVariables(std::move(names));
        }
        auto outcome = SignInConversation(services.signIns, services.call, services.hostShowsForms).attend(config, target.name);
        if (const auto* text = std::get_if<std::string>(&outcome)) return *text;
        token = std::get<OAuth2Token>(std::move(outcome));
    } else {
        // The grant runs on a thread of the service's; this one waits for it.
        token = services.oauth.token(settings, target.resolver, renew ? OAuth2Service::Mode::renew : OAuth2Service::Mode::refresh);
    }
    return savedAnswer({.failure = cache.saveFailure()},
                       args::pretty(report(target.name, config, token, reveal, target.resolver.now())));
}

}  // namespace tessaline
