#pragma once

#include "core/support/JSONWriter.hpp"

#include <nlohmann/json.hpp>

#include <optional>
#include <string_view>

namespace tessaline::embeddedJSON {

// A text of a response as the JSON value it holds, to embed in an answer: none when it does
// not parse (top-level scalars do) or nests deeper than answers are written. Numbers are read
// as nlohmann reads them: integers that fit 64 bits as such (unsigned without a sign), others
// as the nearest double.
std::optional<nlohmann::json> parsed(std::string_view text);

// Writes the value parsed(text) holds as writer.append(*parsed(text)) would, keys in byte
// order and the last of a repeated key, without building the tree; false, with nothing
// written, when it holds none. A summary of every send embeds its body this way.
bool write(JSONWriter& writer, std::string_view text);

}  // namespace tessaline::embeddedJSON
