#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

// Re-lays out JSON text without building a tree: one left-to-right pass that keeps only a
// stack of open brackets, drops all original layout and inserts its own. It never fails:
// malformed text is laid out as well as the pass can, and the output is valid UTF-8.
class JSONFormat {
public:
    enum class TokenKind { key, string, number, literal, punctuation };

    // `text` is exactly what is emitted, layout included: concatenating the texts of all
    // tokens gives the formatted document.
    struct Token {
        std::string text;
        TokenKind kind;
        bool operator==(const Token&) const = default;
    };

    JSONFormat() = delete;

    // Openers and commas end their line, closers start one; each open bracket indents one
    // `indent` deeper; a colon is followed by `space`. Empty containers stay "{}" and "[]".
    static std::vector<Token> tokens(std::string_view text, std::string_view indent, std::string_view newline,
                                     std::string_view space);
    static std::string prettyPrinted(std::string_view text, std::string_view indent);
    static std::string minified(std::string_view text);

    // Well-formed by RFC 8259, with any value (a scalar too) at top level.
    static bool isValid(std::string_view text);
};

}  // namespace tessaline
