#include "server/mcp/OAuthTools.hpp"

#include "core/oauth/OAuth2ResolvedConfig.hpp"
#include "core/session/RequestSession.hpp"
#include "server/mcp/SavedAnswer.hpp"
#include "server/mcp/ToolArguments.hpp"
#include "server/mcp/ToolError.hpp"
#include "server/mcp/WorkspaceTools.hpp"

namespace tessaline {

using nlohmann::json;
namespace args = toolArguments;

namespace {

// What the token belongs to: a name for messages, its auth and the variables it sees.
struct Target {
    std::string name;
    Auth auth;
    VariableResolver resolver;
};

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
        result["hint"] = token.canRefresh() ? "The token has expired. Use action=refresh."
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
        const RequestSession session(store, lookup.findRequest(requestName));
        target = {session.request().name, session.auth(), session.resolver()};
    } else if (const auto collectionName = args::text(arguments, "collection")) {
        const APICollection collection = lookup.findCollection(*collectionName);
        target = {collection.name, collection.auth, store.resolver(collection)};
    } else {
        throw ToolError("Pass request or collection");
    }
    if (target.auth.kind != AuthKind::oauth2) {
        throw ToolError(target.name + " uses " + std::string(label(target.auth.kind)) + ", not OAuth 2.0.");
    }

    const OAuth2Config settings = target.auth.oauth2.value_or(OAuth2Config{});
    const OAuth2ResolvedConfig config = resolved(settings, target.resolver);
    const std::string key = config.cacheKey();
    OAuth2TokenCache& cache = store.oauthTokens();
    cache.reloadIfChanged();

    const std::string action = args::text(arguments, "action").value_or("status");
    const bool reveal = args::flag(arguments, "reveal");
    const Date now = target.resolver.now();
    if (action == "status") {
        if (const auto token = cache.tokenForKey(key)) return args::pretty(report(target.name, config, *token, reveal, now));
        return isInteractive(config.grant) ? "No token yet. Sign in once in the Tessaline app (Auth tab \u2192 Get New Token)."
                                         : "No token yet. Use action=new.";
    }
    if (action == "refresh" || action == "new") {
        const auto mode = action == "new" ? OAuth2Service::Mode::renew : OAuth2Service::Mode::refresh;
        if (mode == OAuth2Service::Mode::renew) cache.remove(key);
        // The grant runs on a thread of the service's; this one waits for it.
        const OAuth2Token token = oauth.token(settings, target.resolver, mode);
        return savedAnswer({.failure = cache.saveFailure()},
                           args::pretty(report(target.name, config, token, reveal, target.resolver.now())));
    }
    if (action == "clear") {
        cache.remove(key);
        return savedAnswer({.failure = cache.saveFailure()}, "Cleared the cached OAuth 2 token for " + target.name);
    }
    throw ToolError("action must be status, refresh, new or clear");
}

}  // namespace tessaline
