#include "core/support/JSONString.hpp"

#include "core/support/Hexadecimal.hpp"

namespace tessaline::jsonString {
namespace {

bool needsEscape(char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; }

// The letter of a two-character escape, or 0 where `c` takes \u00xx.
char shortEscape(char c, ShortEscapes shortEscapes) {
    switch (c) {
    case '"': return '"';
    case '\\': return '\\';
    case '\n': return 'n';
    case '\r': return 'r';
    case '\t': return 't';
    case '\b': return shortEscapes == ShortEscapes::all ? 'b' : 0;
    case '\f': return shortEscapes == ShortEscapes::all ? 'f' : 0;
    default: return 0;
    }
}

}  // namespace

void appendQuoted(std::string& out, std::string_view text, ShortEscapes shortEscapes) {
    out += '"';
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (!needsEscape(c)) continue;
        out.append(text.substr(start, i - start));
        start = i + 1;
        out += '\\';
        if (const char letter = shortEscape(c, shortEscapes)) {
            out += letter;
        } else {
            out += "u00";
            hexadecimal::appendByte(out, static_cast<unsigned char>(c), hexadecimal::lowerDigits);
        }
    }
    out.append(text.substr(start));
    out += '"';
}

std::string quoted(std::string_view text, ShortEscapes shortEscapes) {
    std::string out;
    out.reserve(text.size() + 2);
    appendQuoted(out, text, shortEscapes);
    return out;
}

}  // namespace tessaline::jsonString
