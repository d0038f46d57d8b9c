#include "core/support/JSONString.hpp"

#include "core/support/ByteScan.hpp"
#include "core/support/Hexadecimal.hpp"

namespace tessaline::jsonString {
namespace {

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
    bool sawNonASCII = false;  // unused: non-ASCII bytes are written as they are
    for (std::size_t start = 0;;) {
        const std::size_t at = byteScan::findQuoteBackslashOrControl(text, start, sawNonASCII);
        out.append(text.substr(start, at - start));
        if (at == text.size()) break;
        const char c = text[at];
        out += '\\';
        if (const char letter = shortEscape(c, shortEscapes)) {
            out += letter;
        } else {
            out += "u00";
            hexadecimal::appendByte(out, static_cast<unsigned char>(c), hexadecimal::lowerDigits);
        }
        start = at + 1;
    }
    out += '"';
}

std::string quoted(std::string_view text, ShortEscapes shortEscapes) {
    std::string out;
    out.reserve(text.size() + 2);
    appendQuoted(out, text, shortEscapes);
    return out;
}

}  // namespace tessaline::jsonString
