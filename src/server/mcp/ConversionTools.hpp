#pragma once

#include "core/storage/WorkspaceStore.hpp"
#include "server/mcp/ToolLookup.hpp"
#include "server/mcp/ToolServices.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tessaline {

// The tools that move requests between the workspace and other forms: a curl command line
// in, a code snippet or a Postman collection out. Each takes the call's arguments and returns
// the result text; an import is saved before the handler returns.
class ConversionTools {
public:
    static constexpr std::string_view importCollectionName = "Imported";

    explicit ConversionTools(const ToolServices& services) : store(services.store), lookup(services.store) {}

    std::string importCurl(const nlohmann::json& arguments);
    std::string generateCode(const nlohmann::json& arguments);
    std::string exportPostman(const nlohmann::json& arguments);

private:
    // The collection named by "collection", else the first one, else a new "Imported".
    APICollection importTarget(const nlohmann::json& arguments);

    WorkspaceStore& store;
    ToolLookup lookup;
};

}  // namespace tessaline
