#pragma once

#include "server/mcp/ConversionTools.hpp"
#include "server/mcp/OAuthTools.hpp"
#include "server/mcp/SendingTools.hpp"
#include "server/mcp/WorkspaceTools.hpp"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <variant>

// The fixed list of tools the server offers, with the texts a language model reads.
namespace tessaline::toolCatalog {

// A member of a tool group that runs one tool: it takes the tool's arguments and returns the
// text of its result.
template <class Tools>
using Run = std::string (Tools::*)(const nlohmann::json&);
using Handler = std::variant<Run<WorkspaceTools>, Run<SendingTools>, Run<ConversionTools>, Run<OAuthTools>>;

// The seventeen definitions in catalogue order, each with exactly "name", "title",
// "description", "inputSchema" and "annotations" (the title again and the four hints:
// readOnlyHint, destructiveHint, idempotentHint, openWorldHint). Built once, on first use,
// and never changed.
const nlohmann::json& definitions();

// The handler of the tool with that name (exact, case-sensitive), if the catalogue lists one.
std::optional<Handler> handler(std::string_view name);

// The "instructions" text of the initialize reply.
extern const std::string instructions;

// One line per tool, "name  —  description", without a trailing newline.
std::string listing();

}  // namespace tessaline::toolCatalog
