// Any bytes: a body is embedded in an answer exactly when nlohmann parses it and it nests no
// deeper than answers are written, as the same tree, and written as that tree would be;
// save that nlohmann ends its input at a NUL byte between tokens.
#include "core/support/JSONWriter.hpp"
#include "server/mcp/EmbeddedJSON.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace {

using nlohmann::json;

void require(bool condition) {
    if (!condition) std::abort();
}

// Whether no value inside `value` sits in more than `levels` containers below it.
bool nestsWithin(const json& value, int levels) {
    if (!value.is_structured() || value.empty()) return true;
    return levels > 0 && std::all_of(value.begin(), value.end(), [levels](const json& inner) { return nestsWithin(inner, levels - 1); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (text.find('\0') != std::string_view::npos) return 0;
    std::optional<json> expected = json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (expected->is_discarded() || !nestsWithin(*expected, 256)) expected.reset();

    const auto tree = tessaline::embeddedJSON::parsed(text);
    tessaline::JSONWriter writer;
    const bool written = tessaline::embeddedJSON::write(writer, text);
    require(tree.has_value() == expected.has_value() && written == expected.has_value());
    if (!expected) return 0;
    // dump() tells an integer from a double of the same value, and -0.0 from 0.0.
    require(tree->dump() == expected->dump());
    require(std::move(writer).text() == tessaline::JSONWriter::write(*expected));
    return 0;
}
