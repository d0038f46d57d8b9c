#include "server/mcp/ToolDefinition.hpp"

namespace tessaline {

nlohmann::json ToolDefinition::listed() const {
    const nlohmann::json annotations = {{"title", title},
                                        {"readOnlyHint", hints.readOnly},
                                        {"destructiveHint", hints.destructive},
                                        {"idempotentHint", hints.idempotent},
                                        {"openWorldHint", hints.openWorld}};
    return {{"name", name}, {"title", title}, {"description", description}, {"inputSchema", inputSchema},
            {"annotations", annotations}};
}

}  // namespace tessaline
