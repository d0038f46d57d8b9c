#pragma once

#include "server/mcp/ToolServices.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tessaline {

// One tool of the catalogue: the texts a language model reads, the hints a host decides by,
// and the handler that runs it.
struct ToolDefinition {
    // Which calls need the user's approval. A tool that only reads is neither destructive nor
    // has effects to repeat; one that reaches other hosts may change anything there.
    struct Hints {
        bool readOnly = false;
        bool destructive = false;  // may delete or overwrite what the user wrote
        bool idempotent = false;  // calling again with the same arguments changes nothing more
        bool openWorld = false;
    };

    // Takes the call's arguments and returns the text of the tool's result; throws for a
    // failed tool.
    using Handler = std::string (*)(const ToolServices& services, const nlohmann::json& arguments);

    std::string name;
    std::string title;
    std::string description;
    nlohmann::json inputSchema;
    Hints hints;
    Handler handler;

    // The entry of tools/list: exactly "name", "title", "description", "inputSchema" and
    // "annotations" (the title again, for hosts of earlier protocol versions, and the four
    // hints: readOnlyHint, destructiveHint, idempotentHint, openWorldHint).
    nlohmann::json listed() const;
};

}  // namespace tessaline
