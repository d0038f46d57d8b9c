#pragma once

#include "core/model/OAuth2Token.hpp"
#include "core/oauth/OAuth2Interaction.hpp"
#include "core/oauth/OAuth2Timing.hpp"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tessaline {

// One sign-in that waits for a person while it runs in the background: the token service
// drives it as its interaction, and anyone may look at what it asks the person to do and at
// how it ended. Only flows that need nothing but a prompt run this way (a device code, or an
// authorization URL whose redirect a loopback receiver catches): asked for an in-app sign-in,
// it fails with OAuth2Error::cancelled. Safe to use from any thread.
class SignIn : public OAuth2Interaction {
public:
    // What the person is asked to do, and until when the sign-in waits for it.
    struct Request {
        OAuth2Prompt prompt;
        Date deadline;  // a device code's expiry, or the end of the loopback receiver's wait
    };

    explicit SignIn(OAuth2Timing timing);

    void showPrompt(const OAuth2Prompt& prompt, std::shared_ptr<CancelFlag> cancel) override;
    void dismissPrompt() override {}
    std::string signIn(const std::string& authorizationURL, const std::string& redirectURI,
                       const OAuth2RedirectMode& mode) override;

    // By the thread that ran the grant, once: its token, or the text of what it threw.
    void end(std::optional<OAuth2Token> token, std::optional<std::string> failure);
    // Makes the flow end with OAuth2Error::cancelled the next time it looks: within a quarter
    // of a second while it waits for the person, or as soon as it shows its prompt.
    void cancel();

    // Returns once the prompt is shown or the sign-in has ended.
    void waitUntilStarted();
    // Returns whether the sign-in has ended, waiting at most `timeout` for it.
    bool waitForEnd(std::chrono::milliseconds timeout);

    // Nothing before the prompt is shown.
    std::optional<Request> request();
    bool hasEnded();
    bool wasCancelled();
    // The token it obtained; throws an Error with its failure's text. Only once it has ended.
    // The text is kept rather than the exception, which each caller would otherwise share
    // with the grant's thread.
    OAuth2Token outcome();

private:
    const OAuth2Timing timing;

    std::mutex lock;
    std::condition_variable changed;
    // State below is guarded by lock.
    std::optional<Request> shown;
    std::shared_ptr<CancelFlag> cancelFlag;
    bool cancelled = false;
    bool ended = false;
    std::optional<OAuth2Token> token;
    std::optional<std::string> failure;
};

}  // namespace tessaline
