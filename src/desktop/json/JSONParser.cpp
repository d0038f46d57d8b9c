#include "desktop/json/JSONParser.hpp"

#include <array>
#include <iterator>
#include <optional>
#include <vector>

#include "core/support/ByteScan.hpp"
#include "core/support/Hexadecimal.hpp"
#include "core/support/JSONString.hpp"
#include "core/support/Utf8.hpp"

namespace tessaline {
namespace {

constexpr std::array<bool, 256> numberBytes = byteScan::byteSet("0123456789+-.eE");

// Four characters read as a radix-16 integer the way the usual text-to-integer conversion
// reads them: an optional sign, then hexadecimal digits only.
std::optional<long> hexQuad(std::string_view quad) {
    const bool negative = quad.front() == '-';
    if (quad.front() == '+' || negative) quad.remove_prefix(1);
    long number = 0;
    for (char byte : quad) {
        const int digit = hexadecimal::digitValue(byte);
        if (digit < 0) return std::nullopt;
        number = number * 16 + digit;
    }
    return negative ? -number : number;
}

// One pass over the input with an explicit stack of open containers, so that nesting depth
// costs heap, never call stack. Finished values wait on `elements` (and object keys on
// `keys`) until their container closes and takes them in one move.
class Reader {
public:
    explicit Reader(std::string_view input) : bytes(input) {}

    JSONValue document() {
        skipWhitespace();
        for (;;) {
            if (!readValue()) continue;
            for (;;) {
                if (frames.empty()) return finish();
                if (advanceInContainer()) break;
                closeContainer();
            }
        }
    }

private:
    struct Frame {
        bool isObject;
        size_t firstElement;
    };

    [[noreturn]] static void fail(size_t offset, std::string message) {
        throw jsonParser::ParseError(static_cast<std::ptrdiff_t>(offset), std::move(message));
    }

    bool atEnd() const { return pos == bytes.size(); }
    bool at(char byte) const { return pos < bytes.size() && bytes[pos] == byte; }

    void skipWhitespace() { pos = byteScan::skipWhitespace(bytes, pos); }

    // Pushes a complete value onto `elements`, or opens a non-empty container and returns
    // false with the cursor at its first value.
    bool readValue() {
        if (atEnd()) fail(pos, "unexpected end");
        switch (bytes[pos]) {
        case '"': elements.emplace_back(readString()); return true;
        case '[': return openContainer(false);
        case '{': return openContainer(true);
        case 't': readKeyword("true"); elements.emplace_back(true); return true;
        case 'f': readKeyword("false"); elements.emplace_back(false); return true;
        case 'n': readKeyword("null"); elements.emplace_back(nullptr); return true;
        default: elements.emplace_back(JSONValue::Number(readNumber())); return true;
        }
    }

    bool openContainer(bool isObject) {
        ++pos;
        skipWhitespace();
        if (at(isObject ? '}' : ']')) {
            ++pos;
            if (isObject) elements.emplace_back(JSONValue::Object());
            else elements.emplace_back(JSONValue::Array());
            return true;
        }
        frames.push_back({isObject, elements.size()});
        if (isObject) readKey();
        return false;
    }

    // After a value inside the innermost container: true when another value follows (the
    // cursor is then on it), false when the container's closer was consumed.
    bool advanceInContainer() {
        const bool isObject = frames.back().isObject;
        skipWhitespace();
        if (atEnd()) fail(pos, isObject ? "unterminated object" : "unterminated array");
        if (bytes[pos] == ',') {
            ++pos;
            skipWhitespace();
            if (isObject) readKey();
            return true;
        }
        if (bytes[pos] != (isObject ? '}' : ']')) fail(pos, isObject ? "expected ',' or '}'" : "expected ',' or ']'");
        ++pos;
        return false;
    }

    void closeContainer() {
        const Frame frame = frames.back();
        frames.pop_back();
        const auto first = elements.begin() + static_cast<std::ptrdiff_t>(frame.firstElement);
        if (!frame.isObject) {
            JSONValue::Array array(std::make_move_iterator(first), std::make_move_iterator(elements.end()));
            elements.erase(first, elements.end());
            elements.emplace_back(std::move(array));
            return;
        }
        const size_t count = elements.size() - frame.firstElement;
        const auto firstKey = keys.end() - static_cast<std::ptrdiff_t>(count);
        JSONValue::Object object;
        object.reserve(count);
        for (size_t i = 0; i < count; ++i) object.push_back({std::move(firstKey[i]), std::move(first[i])});
        keys.erase(firstKey, keys.end());
        elements.erase(first, elements.end());
        elements.emplace_back(std::move(object));
    }

    JSONValue finish() {
        skipWhitespace();
        if (!atEnd()) fail(pos, "trailing characters");
        return std::move(elements.back());
    }

    // A member's key and its colon; leaves the cursor on the member's value.
    void readKey() {
        if (!at('"')) fail(pos, "expected key");
        keys.push_back(readString());
        skipWhitespace();
        if (!at(':')) fail(pos, "expected ':'");
        ++pos;
        skipWhitespace();
    }

    void readKeyword(std::string_view keyword) {
        if (bytes.substr(pos, keyword.size()) != keyword) fail(pos, "expected " + std::string(keyword));
        pos += keyword.size();
    }

    // Any run of number bytes, unchecked: "1-2e" and "--" are numbers here.
    std::string_view readNumber() {
        const size_t start = pos;
        while (pos < bytes.size() && numberBytes[static_cast<unsigned char>(bytes[pos])]) ++pos;
        if (pos == start) fail(pos, "unexpected character");
        return bytes.substr(start, pos - start);
    }

    // Cursor on the opening quote. Strings without escapes are copied in one piece.
    std::string readString() {
        const size_t start = ++pos;
        const bool isASCII = scanRun();
        if (at('"')) {
            const std::string_view text = bytes.substr(start, pos++ - start);
            return isASCII ? std::string(text) : utf8::repaired(text);
        }
        scratch.assign(bytes.substr(start, pos - start));
        for (;;) {
            readEscape();
            const size_t run = pos;
            scanRun();
            scratch.append(bytes.substr(run, pos - run));
            if (at('"')) {
                ++pos;
                return utf8::repaired(scratch);
            }
        }
    }

    // Advances to the next quote or backslash, which must exist; true when the bytes passed
    // were all ASCII.
    bool scanRun() {
        bool sawNonASCII = false;
        pos = byteScan::findQuoteOrBackslash(bytes, pos, sawNonASCII);
        if (atEnd()) fail(pos, "unterminated string");
        return !sawNonASCII;
    }

    // Cursor on a backslash; appends what the escape stands for to `scratch`.
    void readEscape() {
        if (pos + 1 == bytes.size()) fail(bytes.size(), "unterminated string");
        const char escaped = bytes[pos + 1];
        pos += 2;
        switch (escaped) {
        case 'n': scratch += '\n'; break;
        case 't': scratch += '\t'; break;
        case 'r': scratch += '\r'; break;
        case 'b': scratch += '\b'; break;
        case 'f': scratch += '\f'; break;
        case 'u': readUnicodeEscape(); break;
        default: scratch += escaped;
        }
    }

    // Cursor after "\u". A high surrogate takes a directly following low-surrogate escape
    // with it; anything that is still no Unicode scalar becomes U+FFFD.
    void readUnicodeEscape() {
        const std::optional<long> unit = bytes.size() - pos >= 4 ? hexQuad(bytes.substr(pos, 4)) : std::nullopt;
        if (!unit) fail(pos, "bad \\u escape");
        pos += 4;
        if (*unit < 0) {  // a sign the lenient reading lets through
            scratch += utf8::replacementCharacter;
            return;
        }
        char32_t scalar = static_cast<char32_t>(*unit);
        if (utf8::isHighSurrogate(scalar) && bytes.size() - pos >= 6 && bytes.compare(pos, 2, "\\u") == 0) {
            const std::optional<long> low = hexQuad(bytes.substr(pos + 2, 4));
            if (low && utf8::isLowSurrogate(static_cast<char32_t>(*low))) {
                scalar = utf8::scalarOfSurrogates(scalar, static_cast<char32_t>(*low));
                pos += 6;
            }
        }
        if (utf8::isHighSurrogate(scalar) || utf8::isLowSurrogate(scalar)) {
            scratch += utf8::replacementCharacter;
        } else {
            utf8::appendScalar(scratch, scalar);
        }
    }

    std::string_view bytes;
    size_t pos = 0;
    std::vector<Frame> frames;
    std::vector<JSONValue> elements;
    std::vector<std::string> keys;
    std::string scratch;
};

}  // namespace

jsonParser::ParseError::ParseError(std::ptrdiff_t offset, std::string message)
    : Error("Invalid JSON at byte " + std::to_string(offset) + ": " + message), at(offset), reason(std::move(message)) {}

JSONValue jsonParser::parse(std::string_view bytes) {
    return Reader(bytes).document();
}

std::string jsonParser::serialize(const JSONValue& value, std::string_view indent, size_t level) {
    struct Open {
        const JSONValue* container;
        size_t next;
    };
    std::string out;
    std::string pad;
    for (size_t i = 0; i < level; ++i) pad += indent;
    std::vector<Open> open;
    const auto write = [&](const JSONValue& item) {
        const bool isObject = std::holds_alternative<JSONValue::Object>(item.storage());
        if (item.childCount() == 0) {
            out += item.isContainer() ? (isObject ? "{}" : "[]") : item.literal();
            return;
        }
        out += isObject ? "{\n" : "[\n";
        pad += indent;
        open.push_back({&item, 0});
    };
    write(value);
    while (!open.empty()) {
        Open& top = open.back();
        const auto* members = std::get_if<JSONValue::Object>(&top.container->storage());
        if (top.next == top.container->childCount()) {
            pad.resize(pad.size() - indent.size());
            out += '\n';
            out += pad;
            out += members ? '}' : ']';
            open.pop_back();
            continue;
        }
        if (top.next > 0) out += ",\n";
        out += pad;
        const size_t index = top.next++;
        if (members) {
            out += quote((*members)[index].key);
            out += ": ";
            write((*members)[index].value);
        } else {
            write(std::get<JSONValue::Array>(top.container->storage())[index]);
        }
    }
    return out;
}

std::string jsonParser::quote(std::string_view text) {
    return jsonString::quoted(text, jsonString::ShortEscapes::lineBreaksAndTab);
}

}  // namespace tessaline
