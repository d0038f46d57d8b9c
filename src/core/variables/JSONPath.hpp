#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <span>
#include <string>
#include <string_view>

// Values read out of a JSON response body by a dotted path (`items.0.id`), for chained
// references.
namespace tessaline::jsonPath {

// Walks the parsed body one piece at a time: an object's member with exactly that key, or an
// array's element at that index (decimal, optional sign, within bounds). The value reached is
// given as stringify() writes it. Absent when the body is not JSON or the path leads nowhere
// (a missing key, a bad index, a step into a string, number, boolean or null).
std::optional<std::string> extract(std::span<const std::string_view> pieces, std::string_view body);

// A string as it is, without quotes; true and false; a number by its shortest text (whole
// numbers below 2^53 in size without a fraction, so 3.0 gives "3"; others as the shortest
// text that reads back to the same double, "0.1", "1e+21", "1e-07"); objects, arrays and null
// as one-line JSON with keys sorted, so null gives "null". Inside objects and arrays, numbers
// are written as they are held; extract holds whole numbers below 2^53 as integers.
std::string stringify(const nlohmann::json& value);

}  // namespace tessaline::jsonPath
