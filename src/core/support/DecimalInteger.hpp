#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tessaline {

// A whole number written as an optional "+" or "-" followed by decimal digits and nothing
// else (no blanks, no fraction); absent for any other text and for values outside 64 bits.
std::optional<std::int64_t> parseDecimalInteger(std::string_view text);

}  // namespace tessaline
