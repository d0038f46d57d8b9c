#pragma once

#include "core/oauth/OAuth2Service.hpp"
#include "core/storage/WorkspaceStore.hpp"
#include "server/mcp/ToolLookup.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tessaline {

// The oauth_token tool: the OAuth 2 token of a request (its own or inherited auth) or of a
// collection's default auth, reported, refreshed, obtained anew or forgotten. Grants that
// need a person cannot run here; once the desktop client has signed in, refreshes can.
class OAuthTools {
public:
    OAuthTools(WorkspaceStore& workspaceStore, OAuth2Service& tokenService)
        : store(workspaceStore), oauth(tokenService), lookup(workspaceStore) {}

    std::string oauthToken(const nlohmann::json& arguments);

private:
    WorkspaceStore& store;
    OAuth2Service& oauth;
    ToolLookup lookup;
};

}  // namespace tessaline
