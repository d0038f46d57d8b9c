#include "core/oauth/SignIn.hpp"

#include "core/oauth/OAuth2Error.hpp"
#include "core/support/Overloaded.hpp"

namespace tessaline {

SignIn::SignIn(OAuth2Timing signInTiming) : timing(std::move(signInTiming)) {}

void SignIn::showPrompt(const OAuth2Prompt& prompt, std::shared_ptr<CancelFlag> cancel) {
    const auto lasts = std::visit(Overloaded{
                                      [](const OAuth2DeviceCode& code) { return code.expiresIn; },
                                      [this](const OAuth2BrowserPrompt&) { return timing.loopbackTimeout; },
                                  },
                                  prompt);
    const std::lock_guard guard(lock);
    shown = Request{prompt, timing.now() + std::chrono::duration_cast<Date::duration>(std::min(lasts, OAuth2Timing::Seconds(1e9)))};
    cancelFlag = std::move(cancel);
    if (cancelled) cancelFlag->set();
    changed.notify_all();
}

std::string SignIn::signIn(const std::string&, const std::string&, const OAuth2RedirectMode&) {
    throw OAuth2Error::cancelled();
}

void SignIn::end(std::optional<OAuth2Token> obtained, std::optional<std::string> thrown) {
    const std::lock_guard guard(lock);
    token = std::move(obtained);
    failure = std::move(thrown);
    ended = true;
    changed.notify_all();
}

void SignIn::cancel() {
    const std::lock_guard guard(lock);
    cancelled = true;
    if (cancelFlag) cancelFlag->set();
}

void SignIn::waitUntilStarted() {
    std::unique_lock guard(lock);
    changed.wait(guard, [this] { return shown || ended; });
}

bool SignIn::waitForEnd(std::chrono::milliseconds timeout) {
    std::unique_lock guard(lock);
    return changed.wait_for(guard, timeout, [this] { return ended; });
}

std::optional<SignIn::Request> SignIn::request() {
    const std::lock_guard guard(lock);
    return shown;
}

bool SignIn::hasEnded() {
    const std::lock_guard guard(lock);
    return ended;
}

bool SignIn::wasCancelled() {
    const std::lock_guard guard(lock);
    return cancelled;
}

OAuth2Token SignIn::outcome() {
    const std::lock_guard guard(lock);
    if (failure) throw Error(*failure);
    return *token;
}

}  // namespace tessaline
