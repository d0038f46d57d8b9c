#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

// One-line JSON text with keys in byte order and plain slashes. Unlike nlohmann's dump it
// walks containers with an explicit stack, so a value nested 100,000 levels deep (a part of a
// response body that a chained variable takes) is written without exhausting the call stack.
namespace tessaline::compactJSON {

// Throws nlohmann::json::type_error when a string holds invalid UTF-8.
std::string encode(const nlohmann::json& value);

}  // namespace tessaline::compactJSON
