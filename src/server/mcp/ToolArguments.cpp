#include "server/mcp/ToolArguments.hpp"

#include "core/support/JSONWriter.hpp"

namespace tessaline::toolArguments {

using nlohmann::json;

std::optional<std::string> text(const json& arguments, const std::string& key) {
    const auto found = arguments.find(key);
    if (found == arguments.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

std::optional<long long> integer(const json& arguments, const std::string& key) {
    const auto found = arguments.find(key);
    if (found == arguments.end() || !found->is_number_integer()) return std::nullopt;
    return found->get<long long>();
}

bool flag(const json& arguments, const std::string& key) {
    const auto found = arguments.find(key);
    return found != arguments.end() && found->is_boolean() && found->get<bool>();
}

std::optional<std::vector<KeyValue>> rows(const json& arguments, const std::string& key) {
    const auto found = arguments.find(key);
    if (found == arguments.end() || !found->is_object()) return std::nullopt;
    std::vector<KeyValue> result;
    for (const auto& [name, value] : found->items()) {
        if (value.is_string()) result.push_back(KeyValue{Uuid::random(), name, value.get<std::string>(), true});
    }
    return result;
}

std::string pretty(const json& value) { return JSONWriter::write(value); }

}  // namespace tessaline::toolArguments
