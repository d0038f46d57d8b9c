#include "server/mcp/JSONRPCMessage.hpp"

#include "core/support/ByteScan.hpp"
#include "core/support/Utf8.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <vector>

namespace tessaline {
namespace {

struct NotJSON {};

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

// A cursor that checks JSON text without keeping any of it. Open containers are a stack of
// one bit each (object or array), so nesting costs neither call stack nor much memory.
class Scanner {
public:
    explicit Scanner(std::string_view json) : text(json) {}

    std::size_t position() const { return pos; }
    bool atEnd() const { return pos == text.size(); }
    bool atByte(char byte) const { return pos < text.size() && text[pos] == byte; }
    void skipWhitespace() { pos = byteScan::skipWhitespace(text, pos); }

    void expect(char byte) {
        if (!atByte(byte)) throw NotJSON{};
        ++pos;
    }

    void skipByteOrderMark() {
        if (text.substr(pos).starts_with("\xEF\xBB\xBF")) pos += 3;
    }

    // One value after optional whitespace; returns how many values it holds, itself included.
    std::size_t skipValue() {
        for (std::size_t count = 1;; ++count) {
            skipWhitespace();
            if (!openContainer() && !closeEndedContainers()) return count;
        }
    }

    // A member's key and its colon, leaving the cursor before the value. Returns the key's
    // source text, quotes included.
    std::string_view skipKey() {
        skipWhitespace();
        const auto start = pos;
        skipString();
        const auto key = text.substr(start, pos - start);
        skipWhitespace();
        expect(':');
        return key;
    }

private:
    // True when the value at the cursor opened a non-empty container, with the cursor before
    // its first value; false when the value is complete.
    bool openContainer() {
        if (atEnd()) throw NotJSON{};
        const char byte = text[pos];
        if (byte != '{' && byte != '[') {
            skipScalar(byte);
            return false;
        }
        ++pos;
        skipWhitespace();
        if (atByte(byte == '{' ? '}' : ']')) {
            ++pos;
            return false;
        }
        open.push_back(byte == '{');
        if (open.back()) skipKey();
        return true;
    }

    // After a complete value: closes the containers that end here. True when another value
    // follows in an open container, with the cursor before it.
    bool closeEndedContainers() {
        while (!open.empty()) {
            skipWhitespace();
            if (atByte(',')) {
                ++pos;
                if (open.back()) skipKey();
                return true;
            }
            expect(open.back() ? '}' : ']');
            open.pop_back();
        }
        return false;
    }

    void skipScalar(char first) {
        switch (first) {
        case '"': skipString(); return;
        case 't': skipWord("true"); return;
        case 'f': skipWord("false"); return;
        case 'n': skipWord("null"); return;
        default: skipNumber();
        }
    }

    void skipWord(std::string_view word) {
        if (!text.substr(pos).starts_with(word)) throw NotJSON{};
        pos += word.size();
    }

    // The cursor is on the opening quote.
    void skipString() {
        expect('"');
        for (;;) {
            bool sawNonASCII = false;  // the line is valid UTF-8 already
            pos = byteScan::findQuoteBackslashOrControl(text, pos, sawNonASCII);
            if (atByte('"')) break;
            expect('\\');  // anything else is a control character or the end
            skipEscape();
        }
        ++pos;
    }

    // The cursor is after a backslash. A surrogate escape is valid only as the high half of a
    // pair whose low half follows at once.
    void skipEscape() {
        if (atEnd()) throw NotJSON{};
        const char escaped = text[pos++];
        if (escaped != 'u') {
            if (std::string_view("\"\\/bfnrt").find(escaped) == std::string_view::npos) throw NotJSON{};
            return;
        }
        const char32_t unit = hexQuad();
        if (utf8::isLowSurrogate(unit)) throw NotJSON{};
        if (utf8::isHighSurrogate(unit)) {
            skipWord("\\u");
            if (!utf8::isLowSurrogate(hexQuad())) throw NotJSON{};
        }
    }

    char32_t hexQuad() {
        const auto quad = text.substr(pos, 4);
        std::uint32_t unit = 0;
        if (quad.size() < 4 || std::from_chars(quad.data(), quad.data() + 4, unit, 16).ptr != quad.data() + 4) {
            throw NotJSON{};
        }
        pos += 4;
        return unit;
    }

    // An optional minus, an integer part without leading zeros, an optional fraction and an
    // optional exponent, of any length and magnitude.
    void skipNumber() {
        if (atByte('-')) ++pos;
        if (atByte('0')) {
            ++pos;
        } else {
            skipDigits();
        }
        if (atByte('.')) {
            ++pos;
            skipDigits();
        }
        if (atByte('e') || atByte('E')) {
            ++pos;
            if (atByte('+') || atByte('-')) ++pos;
            skipDigits();
        }
    }

    // One or more digits.
    void skipDigits() {
        if (atEnd() || !isDigit(text[pos])) throw NotJSON{};
        while (++pos < text.size() && isDigit(text[pos])) {}
    }

    std::string_view text;
    std::size_t pos = 0;
    std::vector<bool> open;  // true for an object
};

// Valid JSON text without the whitespace between its tokens.
std::string withoutWhitespace(std::string_view json) {
    std::string compact;
    compact.reserve(json.size());
    for (std::size_t at = 0; at < json.size();) {
        if (json[at] != '"') {
            if (!byteScan::whitespace[static_cast<unsigned char>(json[at])]) compact += json[at];
            ++at;
            continue;
        }
        // A string, copied whole: its closing quote is the first one no backslash escapes.
        auto end = at + 1;
        bool sawNonASCII = false;
        while (json[end = byteScan::findQuoteOrBackslash(json, end, sawNonASCII)] == '\\') end += 2;
        compact.append(json, at, end + 1 - at);
        at = end + 1;
    }
    return compact;
}

// A string's text without its quotes; escapes are decoded only where there are any.
std::string stringText(std::string_view quoted) {
    if (quoted.find('\\') == std::string_view::npos) return std::string(quoted.substr(1, quoted.size() - 2));
    return nlohmann::json::parse(quoted).get<std::string>();
}

// Calls `member(key, value source text, values it holds)` for each member of the object that
// `text` holds; false when `text` is not one JSON object.
template <typename Member>
bool forEachMember(std::string_view text, Member&& member) {
    Scanner scanner(text);
    try {
        scanner.skipByteOrderMark();
        scanner.skipWhitespace();
        scanner.expect('{');
        scanner.skipWhitespace();
        bool more = !scanner.atByte('}');
        while (more) {
            const auto key = stringText(scanner.skipKey());
            scanner.skipWhitespace();
            const auto start = scanner.position();
            const auto count = scanner.skipValue();
            member(key, text.substr(start, scanner.position() - start), count);
            scanner.skipWhitespace();
            more = scanner.atByte(',');
            if (more) scanner.expect(',');
        }
        scanner.expect('}');
        scanner.skipWhitespace();
        return scanner.atEnd();
    } catch (const NotJSON&) {
        return false;
    }
}

}  // namespace

std::optional<JSONRPCMessage> JSONRPCMessage::read(std::string_view line) {
    JSONRPCMessage message;
    std::string_view id;
    const bool isObject = forEachMember(line, [&](const std::string& key, std::string_view value, std::size_t count) {
        if (key == "id") id = value;
        if (key == "method") {
            message.hasMethod = true;
            message.method = value.starts_with('"') ? stringText(value) : "";
        }
        if (key == "params") {
            message.params = value;
            message.paramsValues = count;
        }
        if (key == "result" || key == "error") message.hasOutcome = true;
    });
    if (!isObject) return std::nullopt;
    message.id = withoutWhitespace(id);
    return message;
}

std::string JSONRPCMessage::memberText(std::string_view object, std::string_view name) {
    // The object looked into is often absent (a call without _meta); a scan of nothing would
    // fail by throwing, which costs more than the rest of the look-up.
    if (object.empty()) return {};
    std::string_view found;
    forEachMember(object, [&](const std::string& key, std::string_view value, std::size_t) {
        if (key == name) found = value;
    });
    return withoutWhitespace(found);
}

std::optional<std::string> JSONRPCMessage::memberString(std::string_view object, std::string_view name) {
    const auto text = memberText(object, name);
    if (!text.starts_with('"')) return std::nullopt;
    return stringText(text);
}

}  // namespace tessaline
