#include "core/interchange/ShellWords.hpp"

#include "core/interchange/ImportError.hpp"
#include "core/support/Utf8.hpp"

#include <optional>

namespace tessaline::shellWords {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The words being collected: a word exists once anything, even an empty quote, began it.
class Words {
public:
    void append(char c) {
        current += c;
        started = true;
    }
    void append(std::string_view text) {
        current += text;
        started = true;
    }
    void start() { started = true; }
    void finish() {
        if (started) words.push_back(std::move(current));
        current.clear();
        started = false;
    }
    bool inWord() const { return started; }
    std::vector<std::string> take() {
        finish();
        return std::move(words);
    }

private:
    std::vector<std::string> words;
    std::string current;
    bool started = false;
};

// A line break at `i`: "\n" or "\r\n"; its length, or 0.
std::size_t lineBreakAt(std::string_view text, std::size_t i) {
    if (i < text.size() && text[i] == '\n') return 1;
    if (i + 1 < text.size() && text[i] == '\r' && text[i + 1] == '\n') return 2;
    return 0;
}

std::optional<unsigned> digitValue(char c, unsigned base) {
    unsigned value = 0;
    if (c >= '0' && c <= '9') value = static_cast<unsigned>(c - '0');
    else if (c >= 'a' && c <= 'f') value = static_cast<unsigned>(c - 'a' + 10);
    else if (c >= 'A' && c <= 'F') value = static_cast<unsigned>(c - 'A' + 10);
    else return std::nullopt;
    return value < base ? std::optional(value) : std::nullopt;
}

// Reads up to `maxDigits` digits of `base` at `i`, advancing past them.
std::optional<char32_t> readNumber(std::string_view text, std::size_t& i, unsigned base, std::size_t maxDigits) {
    std::optional<char32_t> value;
    for (std::size_t n = 0; n < maxDigits && i < text.size(); ++n, ++i) {
        const auto digit = digitValue(text[i], base);
        if (!digit) break;
        value = value.value_or(0) * base + *digit;
    }
    return value;
}

// One escape of $'...' after its backslash, at `i`; advances past it.
void appendANSICEscape(std::string_view text, std::size_t& i, Words& words) {
    const char c = text[i++];
    switch (c) {
    case 'a': words.append('\a'); return;
    case 'b': words.append('\b'); return;
    case 'e':
    case 'E': words.append('\x1B'); return;
    case 'f': words.append('\f'); return;
    case 'n': words.append('\n'); return;
    case 'r': words.append('\r'); return;
    case 't': words.append('\t'); return;
    case 'v': words.append('\v'); return;
    case '\\':
    case '\'':
    case '"':
    case '?': words.append(c); return;
    case 'c':
        if (i < text.size()) words.append(static_cast<char>(text[i++] & 0x1F));
        return;
    case 'x':
    case 'u':
    case 'U': {
        const std::size_t maxDigits = c == 'x' ? 2 : c == 'u' ? 4 : 8;
        const auto value = readNumber(text, i, 16, maxDigits);
        if (!value) {
            words.append('\\');
            words.append(c);
        } else if (c == 'x') {
            words.append(static_cast<char>(*value));
        } else {
            std::string scalar;
            utf8::appendScalar(scalar, *value > 0x10FFFF || (*value >= 0xD800 && *value <= 0xDFFF) ? 0xFFFD : *value);
            words.append(scalar);
        }
        return;
    }
    default:
        if (c >= '0' && c <= '7') {
            --i;
            words.append(static_cast<char>(*readNumber(text, i, 8, 3)));
            return;
        }
        words.append('\\');
        words.append(c);
    }
}

// The POSIX shell form. `i` indexes `text` throughout; each branch advances it.
std::vector<std::string> splitPOSIX(std::string_view text) {
    Words words;
    std::size_t i = 0;
    const auto closing = [&](char quote) {
        if (i >= text.size()) throw ImportError::unclosedQuote();
        return text[i] == quote;
    };
    while (i < text.size()) {
        const char c = text[i];
        if (const auto lineBreak = c == '\\' ? lineBreakAt(text, i + 1) : 0) {
            i += 1 + lineBreak;
        } else if (c == '\\') {
            if (i + 1 < text.size()) words.append(text[i + 1]);
            i += 2;
        } else if (isBlank(c)) {
            words.finish();
            ++i;
        } else if (c == '#' && !words.inWord()) {
            while (i < text.size() && text[i] != '\n') ++i;
        } else if (c == '|' || c == ';' || c == '&') {
            break;
        } else if (c == '\'') {
            words.start();
            for (++i; !closing('\''); ++i) words.append(text[i]);
            ++i;
        } else if (c == '$' && i + 1 < text.size() && text[i + 1] == '\'') {
            words.start();
            for (i += 2; !closing('\'');) {
                if (text[i] == '\\' && i + 1 < text.size()) {
                    ++i;
                    appendANSICEscape(text, i, words);
                } else {
                    words.append(text[i++]);
                }
            }
            ++i;
        } else if (c == '"' || (c == '$' && i + 1 < text.size() && text[i + 1] == '"')) {
            words.start();
            for (i += c == '"' ? 1 : 2; !closing('"');) {
                if (text[i] == '\\' && i + 1 < text.size()) {
                    if (const auto continuation = lineBreakAt(text, i + 1)) {
                        i += 1 + continuation;
                        continue;
                    }
                    const char next = text[i + 1];
                    if (next == '$' || next == '`' || next == '"' || next == '\\') {
                        words.append(next);
                        i += 2;
                        continue;
                    }
                }
                words.append(text[i++]);
            }
            ++i;
        } else {
            words.append(c);
            ++i;
        }
    }
    return words.take();
}

// What cmd.exe hands the program: carets removed where they escape (outside cmd's own
// double quotes), a caret before a line break joining the lines and taking the first
// character of the next line literally, which is how a line break inside a value is written.
std::string cmdUnescaped(std::string_view text) {
    std::string result;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            quoted = !quoted;
            result += c;
        } else if (c == '^' && !quoted) {
            if (const auto lineBreak = lineBreakAt(text, i + 1)) {
                i += lineBreak;
                if (const auto escapedBreak = lineBreakAt(text, i + 1)) {
                    result += '\n';
                    i += escapedBreak;
                }
            } else if (i + 1 < text.size()) {
                result += text[++i];
                // An escaped quote is a plain character to cmd: it opens nothing.
            }
        } else {
            result += c;
        }
    }
    return result;
}

// The C runtime's splitting of a command line: 2n backslashes before a quote give n and the
// quote toggles quoting, 2n+1 give n and a literal quote; "" inside quotes is a literal
// quote; backslashes anywhere else are literal.
std::vector<std::string> splitCRT(std::string_view text) {
    Words words;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (c == '\\') {
            std::size_t count = 0;
            while (i < text.size() && text[i] == '\\') ++count, ++i;
            if (i < text.size() && text[i] == '"') {
                words.append(std::string(count / 2, '\\'));
                if (count % 2 == 1) {
                    words.append('"');
                    ++i;
                }
            } else {
                words.append(std::string(count, '\\'));
            }
        } else if (c == '"') {
            words.start();
            if (quoted && i + 1 < text.size() && text[i + 1] == '"') {
                words.append('"');
                i += 2;
            } else {
                quoted = !quoted;
                ++i;
            }
        } else if (isBlank(c) && !quoted) {
            words.finish();
            ++i;
        } else {
            words.append(c);
            ++i;
        }
    }
    if (quoted) throw ImportError::unclosedQuote();
    return words.take();
}

}  // namespace

bool isCmdForm(std::string_view text) {
    if (text.find("^\"") != std::string_view::npos) return true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '^' && (i + 1 == text.size() || lineBreakAt(text, i + 1) > 0)) return true;
    }
    return false;
}

std::vector<std::string> split(std::string_view text) {
    return isCmdForm(text) ? splitCRT(cmdUnescaped(text)) : splitPOSIX(text);
}

}  // namespace tessaline::shellWords
