#include "pipeline/JSONFormat.hpp"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "support/ByteScan.hpp"
#include "support/Utf8.hpp"

namespace tessaline {
namespace {

using TokenKind = JSONFormat::TokenKind;

constexpr std::array<bool, 256> bareWordEnds = bytescan::byteSet(" \t\n\r\",:[]{}");

// The one formatting pass. Calls emit(kind, head, tail) for each token in order, the token's
// text being head followed by tail; both views are valid UTF-8 and die with the call.
template <class Emit>
void layOut(std::string_view text, std::string_view indentText, std::string_view newlineText,
            std::string_view spaceText, Emit&& emit) {
    const std::string indent = utf8::repaired(indentText);
    const std::string space = utf8::repaired(spaceText);
    // A string or bare word from the text, repaired unless it is ASCII or valid anyway.
    std::string repairedPiece;
    const auto piece = [&](size_t start, size_t end, bool sawNonASCII) -> std::string_view {
        const std::string_view bytes = text.substr(start, end - start);
        if (!sawNonASCII || utf8::isValid(bytes)) return bytes;
        repairedPiece = utf8::repaired(bytes);
        return repairedPiece;
    };

    std::string lineBreak = utf8::repaired(newlineText);  // newline + indent for each open bracket
    std::vector<char> openBrackets;
    bool expectingKey = false;
    size_t pos = 0;
    while (pos < text.size()) {
        const char byte = text[pos];
        switch (byte) {
        case ' ':
        case '\t':
        case '\n':
        case '\r':
            pos = bytescan::skipWhitespace(text, pos);
            break;
        case '{':
        case '[': {
            const size_t next = bytescan::skipWhitespace(text, pos + 1);
            if (next < text.size() && text[next] == (byte == '{' ? '}' : ']')) {
                emit(TokenKind::punctuation, byte == '{' ? "{}" : "[]", "");
                pos = next + 1;
                break;
            }
            openBrackets.push_back(byte);
            lineBreak += indent;
            emit(TokenKind::punctuation, text.substr(pos++, 1), lineBreak);
            if (byte == '{') expectingKey = true;
            break;
        }
        case '}':
        case ']':
            if (!openBrackets.empty()) {
                openBrackets.pop_back();
                lineBreak.resize(lineBreak.size() - indent.size());
            }
            emit(TokenKind::punctuation, lineBreak, text.substr(pos++, 1));
            expectingKey = false;
            break;
        case ',':
            emit(TokenKind::punctuation, ",", lineBreak);
            expectingKey = !openBrackets.empty() && openBrackets.back() == '{';
            ++pos;
            break;
        case ':':
            emit(TokenKind::punctuation, ":", space);
            expectingKey = false;
            ++pos;
            break;
        case '"': {
            bool sawNonASCII = false;
            size_t end = pos + 1;
            // A backslash passes over the byte after it, whatever it is.
            while ((end = bytescan::findQuoteOrBackslash(text, end, sawNonASCII)) + 1 < text.size() &&
                   text[end] == '\\') {
                sawNonASCII |= static_cast<unsigned char>(text[end + 1]) >= 0x80;
                end += 2;
            }
            end = std::min(end + 1, text.size());  // the closing quote, or the rest of the text
            emit(expectingKey ? TokenKind::key : TokenKind::string, piece(pos, end, sawNonASCII), "");
            pos = end;
            break;
        }
        default: {
            bool sawNonASCII = false;
            size_t end = pos;
            for (; end < text.size() && (end == pos || !bareWordEnds[static_cast<unsigned char>(text[end])]); ++end) {
                sawNonASCII |= static_cast<unsigned char>(text[end]) >= 0x80;
            }
            const std::string_view word = text.substr(pos, end - pos);
            const bool isLiteral = word == "true" || word == "false" || word == "null";
            emit(isLiteral ? TokenKind::literal : TokenKind::number, piece(pos, end, sawNonASCII), "");
            pos = end;
        }
        }
    }
}

std::string joined(std::string_view text, std::string_view indent, std::string_view newline,
                   std::string_view space) {
    std::string out;
    out.reserve(text.size() + text.size() / 2);
    layOut(text, indent, newline, space, [&out](TokenKind, std::string_view head, std::string_view tail) {
        out.append(head);
        out.append(tail);
    });
    return out;
}

}  // namespace

std::vector<JSONFormat::Token> JSONFormat::tokens(std::string_view text, std::string_view indent,
                                                  std::string_view newline, std::string_view space) {
    std::vector<Token> tokens;
    layOut(text, indent, newline, space, [&tokens](TokenKind kind, std::string_view head, std::string_view tail) {
        std::string tokenText;
        tokenText.reserve(head.size() + tail.size());
        tokenText.append(head).append(tail);
        tokens.push_back({std::move(tokenText), kind});
    });
    return tokens;
}

std::string JSONFormat::prettyPrinted(std::string_view text, std::string_view indent) {
    return joined(text, indent, "\n", " ");
}

std::string JSONFormat::minified(std::string_view text) {
    return joined(text, "", "", "");
}

// The strict reader takes a NUL byte for the end of the text; valid JSON never holds one
// (not even inside a string, where raw control characters are forbidden).
bool JSONFormat::isValid(std::string_view text) {
    return text.find('\0') == std::string_view::npos && nlohmann::json::accept(text.begin(), text.end());
}

}  // namespace tessaline
