#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

// Lenient reads of the values in a Postman document, which its writers spell loosely: a
// value may be text, a number or a boolean, and a description text or {"content": ...}.
namespace tessaline::postmanValue {

// The member under key, or null when the value is not an object or has no such member.
const nlohmann::json& member(const nlohmann::json& object, std::string_view key);

// The member as text: strings as they are, numbers and booleans as JSON writes them,
// anything else (absent, null, objects) as empty text.
std::string text(const nlohmann::json& object, std::string_view key);

// The member when it is a boolean, else `fallback`.
bool flag(const nlohmann::json& object, std::string_view key, bool fallback);

// A description, given as text or as an object with "content".
std::string description(const nlohmann::json& object);

}  // namespace tessaline::postmanValue
