#pragma once

#include "core/support/ByteScan.hpp"
#include "core/support/DecodingError.hpp"
#include "core/support/Utf8.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tessaline {

// Strict JSON text (RFC 8259), read in one pass of a cursor that hands each value to a
// handler as it goes; every reader of JSON from outside is built on it. Open containers wait
// on a heap stack of one bit each, so nesting costs no call stack. A leading byte order mark
// is skipped. Strings are decoded (escapes, surrogate pairs) and checked as UTF-8; numbers
// are checked for their syntax only and handed over as text, which numberValue() converts.
//
// A failure is a DecodingError (empty path) "The data is not valid JSON (error at offset N).",
// N the first byte at which the text stops being the beginning of some JSON text (its size
// when the text is merely cut short). A NUL byte after the value is an error, not an end.
//
// The handler has these members; those a reader needs nothing from may be empty:
//   std::string& decoded()          the buffer that strings are decoded onto, at its end
//   void valueStart(size_t offset)  before any value, at its first byte
//   void valueEnd(size_t offset)    after any value, past its last byte (after close())
//   void key(size_t from)           an object's key, decoded() from `from` on
//   void string(size_t from)        a string value, decoded() from `from` on
//   void literal(Literal)           null, true or false
//   bool number(string_view text)   false rejects the number: the text fails at its last byte
//   void open(bool isObject)        a container begins; its members follow
//   void close()                    the innermost container ends
class JSONGrammar {
public:
    enum class Literal : std::uint8_t { null, falseValue, trueValue };

    template <typename Handler>
    static void read(std::string_view text, Handler& handler) {
        Cursor<Handler>(text, handler).read();
    }

    // The value of a number's text as the grammar accepted it: an integer when it is one that
    // fits 64 signed bits, else the nearest double, a number too close to zero being zero of
    // its sign; absent when it is beyond a double's range.
    static std::optional<std::variant<std::int64_t, double>> numberValue(std::string_view number);

    [[noreturn]] static void failAt(std::size_t offset);

private:
    template <typename Handler>
    class Cursor {
    public:
        Cursor(std::string_view text, Handler& handler) : input(text), to(handler) {}

        void read() {
            if (atByte('\xEF')) expectWord("\xEF\xBB\xBF");
            do {
                skipWhitespace();
                if (readValue()) closeEndedContainers();
            } while (!openContainers.empty());
            skipWhitespace();
            if (!atEnd()) failAt(pos);
        }

    private:
        bool atEnd() const { return pos == input.size(); }
        bool atByte(char byte) const { return pos < input.size() && input[pos] == byte; }
        void skipWhitespace() { pos = byteScan::skipWhitespace(input, pos); }

        void expect(char byte) {
            if (!atByte(byte)) failAt(pos);
            ++pos;
        }

        // Matches `word` at the cursor, failing at the first byte that differs.
        void expectWord(std::string_view word) {
            const auto available = input.substr(pos, word.size());
            const auto differs = std::mismatch(available.begin(), available.end(), word.begin()).first;
            pos += static_cast<std::size_t>(differs - available.begin());
            if (available != word) failAt(pos);
        }

        // Reads a value at the cursor: true when it is complete, false when it opened a
        // non-empty container, with the cursor before the container's first value.
        bool readValue() {
            if (atEnd()) failAt(pos);
            to.valueStart(pos);
            switch (input[pos]) {
            case '{': return open(true);
            case '[': return open(false);
            case '"': to.string(readString()); break;
            case 't': readLiteral("true", Literal::trueValue); break;
            case 'f': readLiteral("false", Literal::falseValue); break;
            case 'n': readLiteral("null", Literal::null); break;
            default: readNumber();
            }
            to.valueEnd(pos);
            return true;
        }

        void readLiteral(std::string_view word, Literal literal) {
            expectWord(word);
            to.literal(literal);
        }

        bool open(bool isObject) {
            ++pos;
            to.open(isObject);
            skipWhitespace();
            if (atByte(isObject ? '}' : ']')) {
                ++pos;
                to.close();
                to.valueEnd(pos);
                return true;
            }
            openContainers.push_back(isObject ? '}' : ']');
            if (isObject) readKey();
            return false;
        }

        // After a complete value: closes the containers that end here, and leaves the cursor
        // before the next value when one follows.
        void closeEndedContainers() {
            while (!openContainers.empty()) {
                skipWhitespace();
                if (atByte(',')) {
                    ++pos;
                    if (openContainers.back() == '}') readKey();
                    return;
                }
                expect(openContainers.back());
                openContainers.pop_back();
                to.close();
                to.valueEnd(pos);
            }
        }

        // A member's key and its colon, leaving the cursor before the member's value.
        void readKey() {
            skipWhitespace();
            if (!atByte('"')) failAt(pos);
            to.key(readString());
            skipWhitespace();
            expect(':');
        }

        // The cursor is on the opening quote; returns where the decoded text begins. Runs
        // without escapes are copied in one piece and checked for UTF-8 only when they hold
        // non-ASCII bytes.
        std::size_t readString() {
            auto& decoded = to.decoded();
            const auto from = decoded.size();
            for (++pos;;) {
                bool sawNonASCII = false;
                const auto start = pos;
                pos = byteScan::findQuoteBackslashOrControl(input, pos, sawNonASCII);
                const auto run = input.substr(start, pos - start);
                if (sawNonASCII && !utf8::isValid(run)) failAt(start + utf8::firstIllFormedByte(run));
                decoded.append(run);
                if (atByte('"')) break;
                if (!atByte('\\')) failAt(pos);  // a control character, or the end
                readEscape(decoded);
            }
            ++pos;
            return from;
        }

        // The cursor is on a backslash.
        void readEscape(std::string& decoded) {
            const auto escaped = ++pos;
            if (atEnd()) failAt(pos);
            ++pos;
            switch (input[escaped]) {
            case '"': decoded += '"'; break;
            case '\\': decoded += '\\'; break;
            case '/': decoded += '/'; break;
            case 'b': decoded += '\b'; break;
            case 'f': decoded += '\f'; break;
            case 'n': decoded += '\n'; break;
            case 'r': decoded += '\r'; break;
            case 't': decoded += '\t'; break;
            case 'u': readUnicodeEscape(decoded); break;
            default: failAt(escaped);
            }
        }

        // The cursor is after "\u". A surrogate is only valid as the high half of a pair whose
        // low half follows at once; a digit that rules that out is the fault ("\uDC" cannot
        // begin a valid string, nor can "\uD800\u0").
        void readUnicodeEscape(std::string& decoded) {
            char32_t unit = readHexQuad();
            if (utf8::isLowSurrogate(unit)) failAt(pos - 3);
            if (utf8::isHighSurrogate(unit)) {
                expectWord("\\u");
                const char32_t low = readHexQuad();
                if (!utf8::isLowSurrogate(low)) failAt(pos - (low >> 12 == 0xD ? 3 : 4));
                unit = utf8::scalarOfSurrogates(unit, low);
            }
            utf8::appendScalar(decoded, unit);
        }

        std::uint32_t readHexQuad() {
            const auto quad = input.substr(pos, 4);
            std::uint32_t unit = 0;
            const auto read = std::from_chars(quad.data(), quad.data() + quad.size(), unit, 16).ptr - quad.data();
            pos += static_cast<std::size_t>(read);
            if (read < 4) failAt(pos);
            return unit;
        }

        // An optional minus, an integer part without leading zeros, an optional fraction and
        // an optional exponent, of any length.
        void readNumber() {
            const auto start = pos;
            if (atByte('-')) ++pos;
            if (atByte('0')) {
                ++pos;
            } else {
                readDigits();
            }
            if (atByte('.')) {
                ++pos;
                readDigits();
            }
            if (atByte('e') || atByte('E')) {
                ++pos;
                if (atByte('+') || atByte('-')) ++pos;
                readDigits();
            }
            if (!to.number(input.substr(start, pos - start))) failAt(pos - 1);
        }

        // One or more digits.
        void readDigits() {
            if (atEnd() || !isDigit(input[pos])) failAt(pos);
            while (++pos < input.size() && isDigit(input[pos])) {}
        }

        static bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

        std::string_view input;
        Handler& to;
        std::size_t pos = 0;
        // The closing bracket of each open container, innermost last: a string holds the
        // first fifteen without a block from the heap, and most documents nest less.
        std::string openContainers;
    };
};

}  // namespace tessaline
