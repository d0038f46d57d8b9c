#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tessaline {

// The texts of a range (each element passed through `text`), in order, with `separator`
// between each two; empty for none.
template <class Range, class Text = std::identity>
std::string joined(const Range& range, std::string_view separator, Text text = {}) {
    std::string result;
    bool first = true;
    for (const auto& element : range) {
        if (!first) result += separator;
        result += std::invoke(text, element);
        first = false;
    }
    return result;
}

}  // namespace tessaline
