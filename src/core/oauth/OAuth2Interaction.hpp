#pragma once

#include "core/oauth/CancelFlag.hpp"
#include "core/oauth/OAuth2Prompt.hpp"
#include "core/oauth/OAuth2RedirectMode.hpp"

#include <memory>
#include <string>

namespace tessaline {

// How the token service reaches a person, for the grants that need one. Only a user interface
// has one; the server passes none, and those grants then fail with
// OAuth2Error::interactionRequired. Called on the thread that runs the sign-in.
class OAuth2Interaction {
public:
    virtual ~OAuth2Interaction() = default;

    // Shows the prompt until dismissPrompt(), and returns at once. When the person dismisses
    // it, the interface sets `cancel`, and the sign-in ends with OAuth2Error::cancelled.
    virtual void showPrompt(const OAuth2Prompt& prompt, std::shared_ptr<CancelFlag> cancel) = 0;
    virtual void dismissPrompt() = 0;

    // For custom-scheme and embedded redirects: opens the authorization URL in a browser
    // sheet or an in-app browser, catches the navigation to `redirectURI` and returns that
    // navigation's full URL. Throws OAuth2Error::cancelled when the person gives up.
    virtual std::string signIn(const std::string& authorizationURL, const std::string& redirectURI,
                               const OAuth2RedirectMode& mode) = 0;

    // Shows a prompt for as long as it lives.
    class ShownPrompt {
    public:
        ShownPrompt(OAuth2Interaction& interaction, const OAuth2Prompt& prompt)
            : owner(interaction), cancelFlag(std::make_shared<CancelFlag>()) {
            owner.showPrompt(prompt, cancelFlag);
        }
        ShownPrompt(const ShownPrompt&) = delete;
        ShownPrompt& operator=(const ShownPrompt&) = delete;
        ~ShownPrompt() { owner.dismissPrompt(); }

        bool isCancelled() const { return cancelFlag->isSet(); }

    private:
        OAuth2Interaction& owner;
        std::shared_ptr<CancelFlag> cancelFlag;
    };
};

}  // namespace tessaline
