#pragma once

#include "core/model/OAuth2Token.hpp"
#include "core/oauth/OAuth2ResolvedConfig.hpp"
#include "core/oauth/SignIn.hpp"
#include "core/oauth/SignInRegistry.hpp"
#include "server/mcp/CallContext.hpp"

#include <string>
#include <variant>

namespace tessaline {

// What a tool call tells the agent and its user about an OAuth 2 sign-in that waits for a
// person (a device code to enter, or an address to open whose redirect the loopback receiver
// catches). The call starts the sign-in, or joins the one running for the same token.
//
// A host that shows forms (it declared the elicitation capability) shows the user what to do
// in a dialog (elicitation/create) while the call waits for the sign-in to end, with progress
// notifications when the call carried a progress token; the user's decline or cancel, and the
// call's cancellation, end the sign-in. Any other host gets at once the text the agent
// passes on to the user, and the sign-in goes on in the background.
class SignInConversation {
public:
    // The text for the agent, or the token the sign-in obtained while the call waited.
    using Outcome = std::variant<std::string, OAuth2Token>;

    SignInConversation(SignInRegistry& registry, CallContext& call, bool hostShowsForms)
        : signIns(registry), context(call), showsForms(hostShowsForms) {}

    // For the request or collection named `owner`. Leaves the workspace first. Throws the
    // sign-in's failure when it ended before it needed the person or while the call waited.
    Outcome attend(const OAuth2ResolvedConfig& config, const std::string& owner);

    // What oauth_token's status says of a sign-in that still waits for the person.
    static std::string runningText(const SignIn::Request& request, const std::string& owner, Date now);

private:
    // Nothing when the host could not show the dialog.
    std::optional<OAuth2Token> waitInDialog(const std::string& key, const std::shared_ptr<SignIn>& signIn,
                                            const SignIn::Request& request, const std::string& owner);
    OAuth2Token ended(const std::string& key, const std::shared_ptr<SignIn>& signIn);

    SignInRegistry& signIns;
    CallContext& context;
    bool showsForms;
};

}  // namespace tessaline
