#pragma once

#include "core/oauth/OAuth2Service.hpp"
#include "core/oauth/SignInRegistry.hpp"
#include "core/storage/WorkspaceStore.hpp"
#include "server/mcp/CallContext.hpp"

namespace tessaline {

// What a tool handler works with during one call: the workspace, the OAuth 2 token service
// and the sign-ins the server owns, the call that says where the handler's steps run, and
// whether the host shows forms to its user (it declared the elicitation capability).
struct ToolServices {
    WorkspaceStore& store;
    OAuth2Service& oauth;
    SignInRegistry& signIns;
    CallContext& call;
    bool hostShowsForms = false;
};

}  // namespace tessaline
