#pragma once

#include "core/storage/WorkspaceStore.hpp"
#include "core/support/SecretMask.hpp"
#include "server/mcp/ToolLookup.hpp"
#include "server/mcp/ToolServices.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tessaline {

// The tools that list, read and edit the workspace. Each takes the call's arguments and
// returns the result text; each edit is saved before the handler returns, so that the
// desktop client sees it at once, and a save that fails makes the call fail (savedAnswer).
class WorkspaceTools {
public:
    static constexpr std::string_view secretMask = tessaline::secretMask;

    explicit WorkspaceTools(const ToolServices& services) : store(services.store), lookup(services.store) {}

    std::string listCollections(const nlohmann::json& arguments);
    std::string listRequests(const nlohmann::json& arguments);
    std::string getRequest(const nlohmann::json& arguments);
    std::string createRequest(const nlohmann::json& arguments);
    std::string updateRequest(const nlohmann::json& arguments);
    std::string deleteRequest(const nlohmann::json& arguments);
    std::string listEnvironments(const nlohmann::json& arguments);
    std::string setActiveEnvironment(const nlohmann::json& arguments);
    std::string setVariable(const nlohmann::json& arguments);
    std::string updateCollection(const nlohmann::json& arguments);

    // The full definition of a request, as get_request shows it.
    static nlohmann::json describe(const APIRequest& request);

private:
    WorkspaceStore& store;
    ToolLookup lookup;
};

}  // namespace tessaline
