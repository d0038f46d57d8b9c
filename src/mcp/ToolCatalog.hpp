#pragma once

#include <nlohmann/json.hpp>

#include <string>

// The fixed list of tools the server offers, with the texts a language model reads.
namespace tessaline::ToolCatalog {

// The seventeen definitions in catalogue order, each with exactly "name", "description"
// and "inputSchema". Built once, on first use, and never changed.
const nlohmann::json& definitions();

// The "instructions" text of the initialize reply.
extern const std::string instructions;

// One line per tool, "name  —  description", without a trailing newline.
std::string listing();

}  // namespace tessaline::ToolCatalog
