#pragma once

#include "core/oauth/OAuth2Service.hpp"
#include "core/storage/WorkspaceStore.hpp"
#include "server/mcp/CallContext.hpp"

namespace tessaline {

// What a tool handler works with during one call: the workspace, the OAuth 2 token service
// the server owns, and the call that says where the handler's steps run.
struct ToolServices {
    WorkspaceStore& store;
    OAuth2Service& oauth;
    CallContext& call;
};

}  // namespace tessaline
