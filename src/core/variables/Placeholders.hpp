#pragma once

#include <cstddef>
#include <string_view>

// The `{{...}}` placeholders of request texts. A placeholder runs from its opener to the
// first "}}" after the opener; placeholders never nest, so in "{{a{{b}}}}" the body is "a{{b".
namespace tessaline::placeholders {

inline constexpr std::string_view opener = "{{";
inline constexpr std::string_view closer = "}}";

// The text without the blanks and tabs around it.
std::string_view trimmed(std::string_view text);

// Walks `text` from the start, handing each stretch of plain text to onText and each
// placeholder's body (what lies between `open` and "}}", untrimmed) to onBody, in order. An
// `open` with no "}}" after it starts the final stretch of plain text. onText always sees the
// last stretch, even when it is empty.
template <class OnText, class OnBody>
void scan(std::string_view text, std::string_view open, OnText&& onText, OnBody&& onBody) {
    std::size_t position = 0;
    while (true) {
        const auto start = text.find(open, position);
        if (start == std::string_view::npos) break;
        const auto bodyStart = start + open.size();
        const auto end = text.find(closer, bodyStart);
        if (end == std::string_view::npos) break;
        onText(text.substr(position, start - position));
        onBody(text.substr(bodyStart, end - bodyStart));
        position = end + closer.size();
    }
    onText(text.substr(position));
}

}  // namespace tessaline::placeholders
