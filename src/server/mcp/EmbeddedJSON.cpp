#include "server/mcp/EmbeddedJSON.hpp"

#include <algorithm>

namespace tessaline::embeddedJSON {
namespace {

using nlohmann::json;

// Deeper JSON than this is shown as text: the result is written recursively.
constexpr int depthLimit = 256;

// Whether no value inside `value` sits in more than `levels` containers below it.
bool nestsWithin(const json& value, int levels) {
    if (!value.is_structured() || value.empty()) return true;
    return levels > 0 && std::all_of(value.begin(), value.end(), [levels](const json& inner) { return nestsWithin(inner, levels - 1); });
}

}  // namespace

std::optional<json> parsed(const std::string& text) {
    json value = json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (value.is_discarded() || !nestsWithin(value, depthLimit)) return std::nullopt;
    return value;
}

}  // namespace tessaline::embeddedJSON
