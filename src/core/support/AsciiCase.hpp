#pragma once

#include "core/support/ByteScan.hpp"

#include <algorithm>
#include <string>
#include <string_view>

// ASCII's own letter case. For a text of ASCII alone it is the whole of Unicode's case rules,
// which spares header names and most keys the Unicode tables.
namespace tessaline::asciiCase {

inline bool isASCII(std::string_view text) { return byteScan::findNonASCII(text, 0) == text.size(); }

// "A" to "Z" lowered; every other byte as it is.
inline char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

inline std::string lowered(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](char c) { return lowered(c); });
    return out;
}

// Equal once "A" to "Z" are lowered in both.
inline bool equal(std::string_view text, std::string_view otherText) {
    return std::equal(text.begin(), text.end(), otherText.begin(), otherText.end(),
                      [](char one, char other) { return lowered(one) == lowered(other); });
}

}  // namespace tessaline::asciiCase
