#include "core/support/DecimalInteger.hpp"

#include <algorithm>
#include <charconv>
#include <limits>

namespace tessaline {

std::optional<std::int64_t> parseDecimalInteger(std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    if (text.empty() || !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    std::uint64_t magnitude = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), magnitude).ec != std::errc()) return std::nullopt;
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (magnitude > largest + (negative ? 1 : 0)) return std::nullopt;
    return negative ? static_cast<std::int64_t>(0 - magnitude) : static_cast<std::int64_t>(magnitude);
}

}  // namespace tessaline
