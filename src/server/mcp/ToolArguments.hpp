#pragma once

#include "core/model/KeyValue.hpp"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

// Reading a tool's "arguments" object. An argument of the wrong JSON type counts as absent,
// as if the agent had not passed it.
namespace tessaline::toolArguments {

std::optional<std::string> text(const nlohmann::json& arguments, const std::string& key);
std::optional<long long> integer(const nlohmann::json& arguments, const std::string& key);
// True only for the JSON value true.
bool flag(const nlohmann::json& arguments, const std::string& key);
// An object of text to text as enabled rows with fresh ids; non-text values are skipped.
// Absent when the argument is not an object.
std::optional<std::vector<KeyValue>> rows(const nlohmann::json& arguments, const std::string& key);

// A JSON value as indented text with sorted keys, for structured tool results.
std::string pretty(const nlohmann::json& value);

}  // namespace tessaline::toolArguments
