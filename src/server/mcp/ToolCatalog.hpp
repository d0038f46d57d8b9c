#pragma once

#include "server/mcp/ToolDefinition.hpp"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

// The fixed list of tools the server offers: one row per tool, which tools/list, the
// command line's listing and the dispatch of tools/call all read.
namespace tessaline::toolCatalog {

// The seventeen tools in catalogue order. Built once, on first use, and never changed.
const std::vector<ToolDefinition>& tools();

// The tool with that name (exact, case-sensitive); null when the catalogue lists none.
const ToolDefinition* find(std::string_view name);

// The tools' tools/list entries (ToolDefinition::listed), in catalogue order, built once.
const nlohmann::json& definitions();

// The "instructions" text of the initialize reply.
extern const std::string instructions;

// One line per tool, "name  —  description", without a trailing newline.
std::string listing();

}  // namespace tessaline::toolCatalog
