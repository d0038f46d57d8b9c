#include "core/oauth/OAuth2Service.hpp"

#include "core/oauth/AuthorizationCodeFlow.hpp"
#include "core/oauth/DeviceFlow.hpp"
#include "core/oauth/OAuth2Error.hpp"
#include "core/oauth/TokenEndpoint.hpp"
#include "core/variables/RequestBuildError.hpp"

#include <thread>

namespace tessaline {

OAuth2Service::OAuth2Service(OAuth2TokenCache& cache, OAuth2Timing timing) : tokenCache(cache), timings(std::move(timing)) {}

OAuth2Service::~OAuth2Service() {
    std::unique_lock guard(lock);
    finished.wait(guard, [this] { return runningCount == 0; });
}

std::optional<OAuth2Token> OAuth2Service::prepare(const Auth& auth, const VariableResolver& resolver, Mode mode,
                                                  OAuth2Interaction* interaction) {
    if (auth.kind != AuthKind::oauth2) return std::nullopt;
    return token(auth.oauth2.value_or(OAuth2Config{}), resolver, mode, interaction);
}

OAuth2Token OAuth2Service::token(const OAuth2Config& config, const VariableResolver& resolver, Mode mode,
                                 OAuth2Interaction* interaction) {
    if (auto names = unresolvedNames(config, resolver); !names.empty()) {
        throw RequestBuildError::unresolvedVariables(std::move(names));
    }
    return token(resolved(config, resolver), mode, interaction);
}

OAuth2Token OAuth2Service::token(const OAuth2ResolvedConfig& config, Mode mode, OAuth2Interaction* interaction) {
    const auto key = config.cacheKey();
    auto cached = tokenCache.tokenForKey(key);
    if (mode == Mode::reuse && cached && cached->isUsable(timings.now(), leeway)) return *cached;
    if (mode == Mode::renew) cached.reset();
    // A failure is rethrown in storage of its own, made while this thread still holds the
    // acquisition: the exception shared with the acquisition's thread is then freed after the
    // copy in an order that ThreadSanitizer sees, which libstdc++'s own count of an
    // exception's holders, built without its instrumentation, would hide.
    const auto pending = acquisition(key, config, std::move(cached), interaction);
    try {
        return pending.get();
    } catch (const OAuth2Error& error) {
        throw error.unshared();
    } catch (const Error& error) {
        throw Error(std::string(error.what()));
    }
}

std::shared_future<OAuth2Token> OAuth2Service::acquisition(const std::string& key, const OAuth2ResolvedConfig& config,
                                                           std::optional<OAuth2Token> cached,
                                                           OAuth2Interaction* interaction) {
    const std::lock_guard guard(lock);
    if (const auto running = inFlight.find(key); running != inFlight.end()) return running->second;

    std::promise<OAuth2Token> promise;
    auto future = promise.get_future().share();
    inFlight.emplace(key, future);
    ++runningCount;
    auto run = [this, key, config, cached = std::move(cached), interaction,
                promise = std::move(promise)]() mutable {
        try {
            auto token = obtain(config, cached, interaction);
            tokenCache.set(token, key, config.label());
            finish(key);
            promise.set_value(std::move(token));
        } catch (...) {
            finish(key);
            promise.set_exception(std::current_exception());
        }
    };
    try {
        std::thread(std::move(run)).detach();
    } catch (...) {
        inFlight.erase(key);
        --runningCount;
        throw;
    }
    return future;
}

// The last the acquisition's thread does with the service: callers are released only after,
// so none can destroy the service before.
void OAuth2Service::finish(const std::string& key) {
    const std::lock_guard guard(lock);
    inFlight.erase(key);
    --runningCount;
    finished.notify_all();
}

OAuth2Token OAuth2Service::obtain(const OAuth2ResolvedConfig& config, const std::optional<OAuth2Token>& cached,
                                  OAuth2Interaction* interaction) const {
    if (cached && cached->canRefresh()) {
        try {
            return TokenEndpoint(config, timings.now).refresh(*cached->refreshToken);
        } catch (const OAuth2Error& error) {
            // A refresh token the server no longer takes: run the grant instead.
            if (error.kind() == OAuth2Error::Kind::invalidConfig) throw;
        }
    }
    return runGrant(config, interaction);
}

OAuth2Token OAuth2Service::runGrant(const OAuth2ResolvedConfig& config, OAuth2Interaction* interaction) const {
    if (isInteractive(config.grant) && !interaction) throw OAuth2Error::interactionRequired(config.grant);
    const TokenEndpoint endpoint(config, timings.now);
    formFields::Fields fields;
    switch (config.grant) {
    case OAuth2Grant::clientCredentials: fields = {{"grant_type", "client_credentials"}}; break;
    case OAuth2Grant::password:
        fields = {{"grant_type", "password"}, {"username", config.username}, {"password", config.password}};
        break;
    case OAuth2Grant::refreshToken:
        if (config.refreshToken.empty()) throw OAuth2Error::invalidConfig("Enter a refresh token to exchange.");
        return endpoint.refresh(config.refreshToken);
    case OAuth2Grant::authorizationCode: return authorizationCodeFlow::run(endpoint, *interaction, timings);
    case OAuth2Grant::deviceCode: return deviceFlow::run(endpoint, *interaction, timings);
    }
    if (!config.scope.empty()) fields.emplace_back("scope", config.scope);
    return endpoint.requestToken(std::move(fields));
}

}  // namespace tessaline
