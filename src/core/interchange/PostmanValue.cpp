#include "core/interchange/PostmanValue.hpp"

namespace tessaline::postmanValue {

using nlohmann::json;

const json& member(const json& object, std::string_view key) {
    static const json null;
    if (!object.is_object()) return null;
    const auto found = object.find(key);
    return found != object.end() ? *found : null;
}

std::string text(const json& object, std::string_view key) {
    if (!object.is_object()) return {};
    const auto found = object.find(key);
    if (found == object.end()) return {};
    if (found->is_string()) return found->get<std::string>();
    if (found->is_number() || found->is_boolean()) return found->dump();
    return {};
}

bool flag(const json& object, std::string_view key, bool fallback) {
    if (!object.is_object()) return fallback;
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() ? found->get<bool>() : fallback;
}

std::string description(const json& object) {
    if (!object.is_object()) return {};
    const auto found = object.find("description");
    if (found == object.end()) return {};
    return found->is_object() ? text(*found, "content") : text(object, "description");
}

}  // namespace tessaline::postmanValue
