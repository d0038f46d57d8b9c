#include "core/support/Trimmed.hpp"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <climits>
#include <cstdint>

namespace tessaline {

std::string_view trimmed(std::string_view text) {
    if (text.size() > INT32_MAX) return text;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = static_cast<std::int32_t>(text.size());
    std::int32_t start = 0;
    while (start < length) {
        std::int32_t next = start;
        UChar32 scalar = 0;
        U8_NEXT(bytes, next, length, scalar);
        if (scalar < 0 || !u_isUWhiteSpace(scalar)) break;
        start = next;
    }
    std::int32_t end = length;
    while (end > start) {
        std::int32_t previous = end;
        UChar32 scalar = 0;
        U8_PREV(bytes, start, previous, scalar);
        if (scalar < 0 || !u_isUWhiteSpace(scalar)) break;
        end = previous;
    }
    return text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start));
}

}  // namespace tessaline
