#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace tessaline::embeddedJSON {

// A text of a response as the JSON value it holds, to embed in an answer: none when it does
// not parse (top-level scalars do) or nests deeper than answers are written.
std::optional<nlohmann::json> parsed(const std::string& text);

}  // namespace tessaline::embeddedJSON
