#pragma once

#include <string>
#include <string_view>

namespace tessaline {

// The texts of a range, in order, with `separator` between each two; empty for none.
template <class Texts>
std::string joined(const Texts& texts, std::string_view separator) {
    std::string text;
    bool first = true;
    for (const auto& piece : texts) {
        if (!first) text += separator;
        text += piece;
        first = false;
    }
    return text;
}

}  // namespace tessaline
