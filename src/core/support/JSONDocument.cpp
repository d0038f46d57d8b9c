#include "core/support/JSONDocument.hpp"

#include "core/support/ByteScan.hpp"
#include "core/support/DecodingError.hpp"
#include "core/support/Utf8.hpp"

#include <algorithm>
#include <charconv>
#include <limits>

namespace tessaline {

static_assert(sizeof(JSONDocument::Node) == 16);

namespace {

[[noreturn]] void failAt(std::size_t offset) {
    throw DecodingError(DecodingError::Kind::malformed, "",
                        "The data is not valid JSON (error at offset " + std::to_string(offset) + ").");
}

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

// Whether a number that a double cannot hold is too large for one, rather than too close to
// zero: the power of ten of its first significant digit is positive. `number` is valid JSON
// and not zero.
bool exceedsDouble(std::string_view number) {
    if (number.front() == '-') number.remove_prefix(1);
    const auto exponentAt = std::min(number.find_first_of("eE"), number.size());
    const auto mantissa = number.substr(0, exponentAt);
    const auto integerDigits = mantissa.substr(0, mantissa.find('.'));
    long long scale = integerDigits != "0"
        ? static_cast<long long>(integerDigits.size())
        : -static_cast<long long>(mantissa.find_first_not_of('0', 2) - 2);  // zeros after "0."
    // The exponent's digits, saturated far beyond any double's range.
    long long exponent = 0;
    for (const char byte : number.substr(std::min(exponentAt + 1, number.size()))) {
        if (isDigit(byte)) exponent = std::min(exponent * 10 + (byte - '0'), 1'000'000'000'000LL);
    }
    if (number.find('-', exponentAt) != std::string_view::npos) exponent = -exponent;
    return scale + exponent > 0;
}

}  // namespace

// One pass of a cursor over the bytes, appending nodes as values complete; open containers
// wait on a heap stack for the index where they end, so nesting costs no call stack. A
// failure names the first byte at which the text stops being the beginning of some JSON text
// (its size when the text is merely cut short).
//
// Accepts RFC 8259 JSON text as nlohmann::json::accept does: a leading byte order mark is
// skipped and a number beyond a double's range is rejected. Unlike nlohmann, a NUL byte after
// the value is no end of input but an error.
class JSONDocument::Builder {
public:
    Builder(std::string_view text, JSONDocument& document) : input(text), target(document) {}

    void build() {
        skipByteOrderMark();
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
    bool inObject() const { return openContainers.back().isObject; }
    std::uint32_t nextIndex() const { return static_cast<std::uint32_t>(target.nodes.size()); }

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

    void skipByteOrderMark() {
        if (atByte('\xEF')) expectWord("\xEF\xBB\xBF");
    }

    // Reads a value at the cursor: true when it is complete, false when it opened a
    // non-empty container, with the cursor before the container's first value.
    bool readValue() {
        if (atEnd()) failAt(pos);
        switch (input[pos]) {
        case '{': return open(Type::object);
        case '[': return open(Type::array);
        case '"': readString(); return true;
        case 't': expectWord("true"); add({.type = Type::boolean, .flag = true}); return true;
        case 'f': expectWord("false"); add({.type = Type::boolean, .flag = false}); return true;
        case 'n': expectWord("null"); add({.type = Type::null}); return true;
        default: readNumber(); return true;
        }
    }

    void add(Node node) {
        node.end = nextIndex() + 1;
        target.nodes.push_back(node);
    }

    bool open(Type type) {
        ++pos;
        openContainers.push_back({nextIndex(), static_cast<std::uint32_t>(pending.size()), type == Type::object});
        target.nodes.push_back({.type = type});
        skipWhitespace();
        if (atByte(type == Type::object ? '}' : ']')) {
            ++pos;
            close();
            return true;
        }
        if (type == Type::object) readKey();
        return false;
    }

    // After a complete value: closes the containers that end here, and leaves the cursor before
    // the next value when one follows.
    void closeEndedContainers() {
        while (!openContainers.empty()) {
            skipWhitespace();
            if (atByte(',')) {
                ++pos;
                if (inObject()) readKey();
                return;
            }
            expect(inObject() ? '}' : ']');
            close();
        }
    }

    // An object's members move from the pending stack to the member table, where they lie
    // side by side.
    void close() {
        const auto container = openContainers.back();
        openContainers.pop_back();
        auto& node = target.nodes[container.node];
        node.end = nextIndex();
        if (!container.isObject) return;
        auto& members = target.memberTable;
        const auto first = pending.begin() + container.firstPending;
        node.payload.span = {static_cast<std::uint32_t>(members.size()), static_cast<std::uint32_t>(pending.end() - first)};
        members.insert(members.end(), first, pending.end());
        pending.erase(first, pending.end());
    }

    // A member's key and its colon, leaving the cursor before the member's value.
    void readKey() {
        skipWhitespace();
        if (!atByte('"')) failAt(pos);
        readString();
        const auto& key = target.nodes.back();
        pending.push_back({key.payload.span, nextIndex()});
        skipWhitespace();
        expect(':');
    }

    // The cursor is on the opening quote. Runs without escapes are copied in one piece and
    // checked for UTF-8 only when they hold non-ASCII bytes.
    void readString() {
        auto& decoded = target.strings;
        const auto offset = decoded.size();
        for (++pos;;) {
            bool sawNonASCII = false;
            const auto start = pos;
            pos = byteScan::findQuoteBackslashOrControl(input, pos, sawNonASCII);
            const auto run = input.substr(start, pos - start);
            if (sawNonASCII && !utf8::isValid(run)) failAt(start + utf8::firstIllFormedByte(run));
            decoded.append(run);
            if (atByte('"')) break;
            if (!atByte('\\')) failAt(pos);  // a control character, or the end
            readEscape();
        }
        ++pos;
        const Span span{static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(decoded.size() - offset)};
        add({.type = Type::string, .payload = {.span = span}});
    }

    // The cursor is on a backslash.
    void readEscape() {
        const auto escaped = ++pos;
        if (atEnd()) failAt(pos);
        ++pos;
        auto& decoded = target.strings;
        switch (input[escaped]) {
        case '"': decoded += '"'; break;
        case '\\': decoded += '\\'; break;
        case '/': decoded += '/'; break;
        case 'b': decoded += '\b'; break;
        case 'f': decoded += '\f'; break;
        case 'n': decoded += '\n'; break;
        case 'r': decoded += '\r'; break;
        case 't': decoded += '\t'; break;
        case 'u': readUnicodeEscape(); break;
        default: failAt(escaped);
        }
    }

    // The cursor is after "\u". A surrogate is only valid as the high half of a pair whose
    // low half follows at once; a digit that rules that out is the fault ("\uDC" cannot
    // begin a valid string, nor can "\uD800\u0").
    void readUnicodeEscape() {
        char32_t unit = readHexQuad();
        if (utf8::isLowSurrogate(unit)) failAt(pos - 3);
        if (utf8::isHighSurrogate(unit)) {
            expectWord("\\u");
            const char32_t low = readHexQuad();
            if (!utf8::isLowSurrogate(low)) failAt(pos - (low >> 12 == 0xD ? 3 : 4));
            unit = utf8::scalarOfSurrogates(unit, low);
        }
        utf8::appendScalar(target.strings, unit);
    }

    std::uint32_t readHexQuad() {
        const auto quad = input.substr(pos, 4);
        std::uint32_t unit = 0;
        const auto read = std::from_chars(quad.data(), quad.data() + quad.size(), unit, 16).ptr - quad.data();
        pos += static_cast<std::size_t>(read);
        if (read < 4) failAt(pos);
        return unit;
    }

    // An optional minus, an integer part without leading zeros, an optional fraction and an
    // optional exponent. Integers that fit 64 signed bits are kept exactly; any other number
    // is the nearest double, and one beyond a double's range fails at its last byte.
    void readNumber() {
        const auto start = pos;
        if (atByte('-')) ++pos;
        if (atByte('0')) {
            ++pos;
        } else {
            readDigits();
        }
        const auto integerEnd = pos;
        if (atByte('.')) {
            ++pos;
            readDigits();
        }
        if (atByte('e') || atByte('E')) {
            ++pos;
            if (atByte('+') || atByte('-')) ++pos;
            readDigits();
        }
        const auto number = input.substr(start, pos - start);
        const auto* const first = number.data();
        const auto* const last = first + number.size();
        if (pos == integerEnd) {
            std::int64_t integer = 0;
            if (std::from_chars(first, last, integer).ec == std::errc()) {
                add({.type = Type::integer, .payload = {.integer = integer}});
                return;
            }
        }
        double value = 0;
        if (std::from_chars(first, last, value).ec == std::errc::result_out_of_range) {
            if (exceedsDouble(number)) failAt(pos - 1);
            value = number.front() == '-' ? -0.0 : 0.0;
        }
        add({.type = Type::number, .payload = {.number = value}});
    }

    // One or more digits.
    void readDigits() {
        if (atEnd() || !isDigit(input[pos])) failAt(pos);
        while (++pos < input.size() && isDigit(input[pos])) {}
    }

    struct OpenContainer {
        std::uint32_t node;
        std::uint32_t firstPending;  // an object's first member on `pending`
        bool isObject;
    };

    std::string_view input;
    JSONDocument& target;
    std::size_t pos = 0;
    std::vector<OpenContainer> openContainers;
    std::vector<Member> pending;  // the members of the open objects, innermost last
};

JSONDocument JSONDocument::parse(std::string_view bytes) {
    if (bytes.size() >= std::numeric_limits<std::uint32_t>::max()) {
        throw DecodingError(DecodingError::Kind::malformed, "", "The document is too large.");
    }
    JSONDocument document;
    // Room for what pretty-printed files need, so that the buffers rarely move while they grow;
    // pages never written cost nothing.
    document.nodes.reserve(bytes.size() / 16);
    document.strings.reserve(bytes.size());
    Builder(bytes, document).build();
    return document;
}

std::optional<std::uint32_t> JSONDocument::member(std::uint32_t object, std::string_view key) const {
    const auto members = nodes[object].payload.span;
    for (auto index = members.offset + members.length; index-- > members.offset;) {
        const auto& member = memberTable[index];
        if (text(member.key) == key) return member.value;
    }
    return std::nullopt;
}

}  // namespace tessaline
