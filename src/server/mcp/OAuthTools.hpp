#pragma once

#include "core/oauth/SignInRegistry.hpp"
#include "server/mcp/ToolLookup.hpp"
#include "server/mcp/ToolServices.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tessaline {

// The oauth_token tool: the OAuth 2 token of a request (its own or inherited auth) or of a
// collection's default auth, reported, refreshed, obtained anew or forgotten. A new token of a
// grant that needs a person comes from a sign-in that the call starts (SignInConversation)
// when the server can see it through, else from the desktop client's sign-in; once there is
// one, refreshes need nobody.
class OAuthTools {
public:
    // What the token belongs to: a name for messages, its auth and the variables it sees.
    struct Target {
        std::string name;
        Auth auth;
        VariableResolver resolver;
    };

    explicit OAuthTools(const ToolServices& callServices) : services(callServices), lookup(callServices.store) {}

    std::string oauthToken(const nlohmann::json& arguments);

private:
    // The cached token, or how a sign-in of the target goes, or that there is none.
    std::string status(const Target& target, bool reveal);
    // A token refreshed, or obtained anew (`renew`) by the grant.
    std::string obtain(const Target& target, bool renew, bool reveal);

    const ToolServices services;
    ToolLookup lookup;
};

}  // namespace tessaline
