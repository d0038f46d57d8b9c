#pragma once

#include "server/mcp/ToolLookup.hpp"
#include "server/mcp/ToolServices.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tessaline {

// The oauth_token tool: the OAuth 2 token of a request (its own or inherited auth) or of a
// collection's default auth, reported, refreshed, obtained anew or forgotten. Grants that
// need a person cannot run here; once the desktop client has signed in, refreshes can.
class OAuthTools {
public:
    explicit OAuthTools(const ToolServices& services)
        : store(services.store), oauth(services.oauth), lookup(services.store) {}

    std::string oauthToken(const nlohmann::json& arguments);

private:
    WorkspaceStore& store;
    OAuth2Service& oauth;
    ToolLookup lookup;
};

}  // namespace tessaline
