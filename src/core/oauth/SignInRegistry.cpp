#include "core/oauth/SignInRegistry.hpp"

#include "core/oauth/OAuth2Error.hpp"
#include "core/oauth/OAuth2RedirectMode.hpp"

#include <thread>

namespace tessaline {

SignInRegistry::SignInRegistry(OAuth2Service& service, OAuth2Timing signInTiming)
    : tokens(service), timing(std::move(signInTiming)) {}

SignInRegistry::~SignInRegistry() {
    close();
    std::unique_lock guard(lock);
    finished.wait(guard, [this] { return runningCount == 0; });
}

bool SignInRegistry::runsHere(const OAuth2ResolvedConfig& config) {
    if (config.grant == OAuth2Grant::deviceCode) return true;
    return config.grant == OAuth2Grant::authorizationCode &&
           std::holds_alternative<OAuth2RedirectMode::Loopback>(OAuth2RedirectMode(config.redirectURI).value());
}

std::shared_ptr<SignIn> SignInRegistry::begin(const OAuth2ResolvedConfig& config) {
    const auto key = config.cacheKey();
    std::shared_ptr<SignIn> signIn;
    {
        const std::lock_guard guard(lock);
        auto& listed = signIns[key];
        if (!listed || listed->hasEnded()) {
            listed = std::make_shared<SignIn>(timing);
            if (closed) listed->cancel();
            ++runningCount;
            try {
                std::thread([this, started = listed, config] { run(started, config); }).detach();
            } catch (...) {
                --runningCount;
                signIns.erase(key);
                throw;
            }
        }
        signIn = listed;
    }
    signIn->waitUntilStarted();
    return signIn;
}

void SignInRegistry::run(std::shared_ptr<SignIn> signIn, const OAuth2ResolvedConfig& config) {
    while (true) {
        try {
            signIn->end(tokens.token(config, OAuth2Service::Mode::renew, signIn.get()), std::nullopt);
            break;
        } catch (const std::exception& error) {
            // The service joined an ended sign-in of the same key that was still finishing.
            const auto* oauth = dynamic_cast<const OAuth2Error*>(&error);
            if (oauth && oauth->kind() == OAuth2Error::Kind::cancelled && !signIn->wasCancelled()) continue;
            signIn->end(std::nullopt, error.what());
            break;
        }
    }
    // The last the thread does with the registry: its destructor waits for this.
    const std::lock_guard guard(lock);
    --runningCount;
    finished.notify_all();
}

std::shared_ptr<SignIn> SignInRegistry::find(const std::string& key) {
    const std::lock_guard guard(lock);
    const auto found = signIns.find(key);
    return found == signIns.end() ? nullptr : found->second;
}

void SignInRegistry::forget(const std::string& key, const std::shared_ptr<SignIn>& signIn) {
    const std::lock_guard guard(lock);
    if (const auto found = signIns.find(key); found != signIns.end() && found->second == signIn) signIns.erase(found);
}

void SignInRegistry::end(const std::string& key) {
    const std::lock_guard guard(lock);
    const auto found = signIns.find(key);
    if (found == signIns.end()) return;
    found->second->cancel();
    signIns.erase(found);
}

void SignInRegistry::close() {
    const std::lock_guard guard(lock);
    closed = true;
    for (const auto& [key, signIn] : signIns) signIn->cancel();
}

}  // namespace tessaline
