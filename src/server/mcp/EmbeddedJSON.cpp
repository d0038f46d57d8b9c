#include "server/mcp/EmbeddedJSON.hpp"

#include <algorithm>

namespace tessaline::embeddedJSON {
namespace {

// Deeper JSON than this is shown as text: the result is written recursively.
constexpr int depthLimit = 256;

}  // namespace

std::optional<nlohmann::json> parsed(const std::string& text) {
    using nlohmann::json;
    int deepest = 0;
    json value = json::parse(
        text,
        [&](int depth, json::parse_event_t, json&) {
            deepest = std::max(deepest, depth);
            return true;
        },
        /*allow_exceptions=*/false);
    if (value.is_discarded() || deepest > depthLimit) return std::nullopt;
    return value;
}

}  // namespace tessaline::embeddedJSON
