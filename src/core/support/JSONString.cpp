#include "core/support/JSONString.hpp"

#include "core/support/ByteScan.hpp"
#include "core/support/Hexadecimal.hpp"

#include <array>
#include <cstring>

namespace tessaline::jsonString {
namespace {

// What follows the backslash of each byte's escape: 0 for a byte written as it is, the letter
// of a two-character escape, or 'u' for \u00xx.
constexpr std::array<char, 256> escapeLetters(ShortEscapes shortEscapes) {
    std::array<char, 256> letters{};
    for (int control = 0; control < 0x20; ++control) letters[control] = 'u';
    letters['"'] = '"';
    letters['\\'] = '\\';
    letters['\n'] = 'n';
    letters['\r'] = 'r';
    letters['\t'] = 't';
    if (shortEscapes == ShortEscapes::all) {
        letters['\b'] = 'b';
        letters['\f'] = 'f';
    }
    return letters;
}

constexpr auto allLetters = escapeLetters(ShortEscapes::all);
constexpr auto lineBreakAndTabLetters = escapeLetters(ShortEscapes::lineBreaksAndTab);

// The longest escape, \u00xx, is six bytes.
constexpr std::size_t longestEscape = 6;
// Bytes escaped at a time into a buffer on the stack that holds them at their longest.
constexpr std::size_t pieceLength = 256;

// The escaped form of text that starts with a byte to escape. Runs of plain bytes are copied
// a word at a time: eight bytes are stored at once, and the output goes on after the plain
// ones among them. Escapes are written through a table into a buffer on the stack that holds
// a piece at its longest, so that no byte needs a bounds check; the summaries a send returns
// are dense with quotes and line breaks.
void appendEscaped(std::string& out, std::string_view text, const std::array<char, 256>& letters) {
    std::array<char, longestEscape * pieceLength> escaped;
    for (std::size_t from = 0; from < text.size(); from += pieceLength) {
        const std::string_view piece = text.substr(from, pieceLength);
        char* to = escaped.data();
        for (std::size_t at = 0; at < piece.size();) {
            // Each byte before `at` took at least one byte of the buffer, so eight more fit.
            if (at + 8 <= piece.size()) {
                const std::size_t plain = byteScan::plainBytesInWord(piece, at);
                std::memcpy(to, piece.data() + at, 8);
                to += plain;
                at += plain;
                if (plain == 8) continue;
            }
            const char c = piece[at++];
            const char letter = letters[static_cast<unsigned char>(c)];
            if (letter == 0) {
                *to++ = c;
                continue;
            }
            *to++ = '\\';
            *to++ = letter;
            if (letter == 'u') {
                *to++ = '0';
                *to++ = '0';
                *to++ = hexadecimal::lowerDigits[static_cast<unsigned char>(c) >> 4];
                *to++ = hexadecimal::lowerDigits[static_cast<unsigned char>(c) & 0xF];
            }
        }
        out.append(escaped.data(), to);
    }
}

}  // namespace

// The plain bytes before the first escape go out in one append: most strings (keys, header
// values, URLs) are nothing else.
void appendQuoted(std::string& out, std::string_view text, ShortEscapes shortEscapes) {
    bool sawNonASCII = false;  // of no concern here
    const std::size_t plain = byteScan::findQuoteBackslashOrControl(text, 0, sawNonASCII);
    out += '"';
    out.append(text.data(), plain);
    if (plain < text.size()) {
        appendEscaped(out, text.substr(plain), shortEscapes == ShortEscapes::all ? allLetters : lineBreakAndTabLetters);
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
