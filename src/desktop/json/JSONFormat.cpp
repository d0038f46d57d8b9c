#include "desktop/json/JSONFormat.hpp"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "core/support/ByteScan.hpp"
#include "core/support/Utf8.hpp"

namespace tessaline {
namespace {

using TokenKind = JSONFormat::TokenKind;

constexpr std::array<bool, 256> bareWordEnds = byteScan::byteSet(" \t\n\r\",:[]{}");

// The one formatting pass. Calls emit(kind, head, tail) for each token in order, the token's
// text being head followed by tail; both views are valid UTF-8 and die with the call.
template <class Emit>
class LayoutPass {
public:
    LayoutPass(std::string_view input, std::string_view indentText, std::string_view newlineText,
               std::string_view spaceText, Emit& emitToken)
        : text(input), indent(utf8::repaired(indentText)), space(utf8::repaired(spaceText)),
          lineBreak(utf8::repaired(newlineText)), emit(emitToken) {}

    void run() {
        while (pos < text.size()) {
            switch (text[pos]) {
            case ' ':
            case '\t':
            case '\n':
            case '\r': pos = byteScan::skipWhitespace(text, pos); break;
            case '{':
            case '[': opener(); break;
            case '}':
            case ']': closer(); break;
            case ',': comma(); break;
            case ':': colon(); break;
            case '"': quoted(); break;
            default: bareWord();
            }
        }
    }

private:
    void opener() {
        const char bracket = text[pos];
        const size_t next = byteScan::skipWhitespace(text, pos + 1);
        if (next < text.size() && text[next] == (bracket == '{' ? '}' : ']')) {
            emit(TokenKind::punctuation, bracket == '{' ? "{}" : "[]", "");
            pos = next + 1;
            return;
        }
        openBrackets.push_back(bracket);
        lineBreak += indent;
        emit(TokenKind::punctuation, text.substr(pos++, 1), lineBreak);
        if (bracket == '{') expectingKey = true;
    }

    // An unbalanced closer leaves the depth at zero.
    void closer() {
        if (!openBrackets.empty()) {
            openBrackets.pop_back();
            lineBreak.resize(lineBreak.size() - indent.size());
        }
        emit(TokenKind::punctuation, lineBreak, text.substr(pos++, 1));
        expectingKey = false;
    }

    void comma() {
        emit(TokenKind::punctuation, ",", lineBreak);
        expectingKey = !openBrackets.empty() && openBrackets.back() == '{';
        ++pos;
    }

    void colon() {
        emit(TokenKind::punctuation, ":", space);
        expectingKey = false;
        ++pos;
    }

    // Up to the quote that no backslash escapes, as written; an unterminated string takes
    // the rest of the text.
    void quoted() {
        bool sawNonASCII = false;
        size_t end = pos + 1;
        while ((end = byteScan::findQuoteOrBackslash(text, end, sawNonASCII)) + 1 < text.size() && text[end] == '\\') {
            sawNonASCII |= static_cast<unsigned char>(text[end + 1]) >= 0x80;  // passed over, whatever it is
            end += 2;
        }
        emitPiece(expectingKey ? TokenKind::key : TokenKind::string, std::min(end + 1, text.size()), sawNonASCII);
    }

    // Any other run up to layout or punctuation; only the three keywords are literals.
    void bareWord() {
        bool sawNonASCII = static_cast<unsigned char>(text[pos]) >= 0x80;
        size_t end = pos + 1;
        for (; end < text.size() && !bareWordEnds[static_cast<unsigned char>(text[end])]; ++end) {
            sawNonASCII |= static_cast<unsigned char>(text[end]) >= 0x80;
        }
        const std::string_view word = text.substr(pos, end - pos);
        const bool isLiteral = word == "true" || word == "false" || word == "null";
        emitPiece(isLiteral ? TokenKind::literal : TokenKind::number, end, sawNonASCII);
    }

    // Emits the text from the cursor to `end`, repaired unless it is ASCII or valid anyway.
    void emitPiece(TokenKind kind, size_t end, bool sawNonASCII) {
        const std::string_view bytes = text.substr(pos, end - pos);
        pos = end;
        if (!sawNonASCII || utf8::isValid(bytes)) {
            emit(kind, bytes, "");
        } else {
            emit(kind, utf8::repaired(bytes), "");
        }
    }

    std::string_view text;
    const std::string indent;
    const std::string space;
    std::string lineBreak;  // the newline, then the indent once for each open bracket
    std::vector<char> openBrackets;
    bool expectingKey = false;
    size_t pos = 0;
    Emit& emit;
};

template <class Emit>
void layOut(std::string_view text, std::string_view indent, std::string_view newline, std::string_view space,
            Emit emit) {
    LayoutPass<Emit>(text, indent, newline, space, emit).run();
}

std::string laidOut(std::string_view text, std::string_view indent, std::string_view newline,
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
    return laidOut(text, indent, "\n", " ");
}

std::string JSONFormat::minified(std::string_view text) {
    return laidOut(text, "", "", "");
}

// The strict reader takes a NUL byte for the end of the text; valid JSON never holds one
// (not even inside a string, where raw control characters are forbidden).
bool JSONFormat::isValid(std::string_view text) {
    return text.find('\0') == std::string_view::npos && nlohmann::json::accept(text.begin(), text.end());
}

}  // namespace tessaline
