#include "server/mcp/EmbeddedJSON.hpp"

#include "core/support/DecodingError.hpp"
#include "core/support/JSONGrammar.hpp"
#include "core/support/LastOfEachKey.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tessaline::embeddedJSON {
namespace {

using nlohmann::json;

// Deeper JSON than this is shown as text: answers are written recursively. A value inside
// more containers than this sits in a non-empty container as deep as the limit.
constexpr std::size_t depthLimit = 256;

// A number as nlohmann reads it: unsigned when it is a natural number, signed when it is a
// negative integer, a double otherwise.
using Number = std::variant<std::uint64_t, std::int64_t, double>;

// None beyond a double's range.
std::optional<Number> numberOf(std::string_view text) {
    if (text.find_first_of(".eE") == std::string_view::npos) {
        const char* end = text.data() + text.size();
        if (text.front() != '-') {
            std::uint64_t natural = 0;
            if (std::from_chars(text.data(), end, natural).ec == std::errc()) return natural;
        } else if (std::int64_t integer = 0; std::from_chars(text.data(), end, integer).ec == std::errc()) {
            return integer;
        }
    }
    const auto value = JSONGrammar::numberValue(text);
    if (!value) return std::nullopt;
    return std::visit([](auto number) { return Number(number); }, *value);
}

// A JSON text held flat, as the grammar hands it over: every value, and every member's key
// just before its value, is one node in document order, and a container's nodes follow it up
// to its `end`. Embedding a small body this way costs a fraction of building a tree, which
// showed on every send.
class FlatValue {
public:
    // Throws DecodingError when the text is not JSON or nests too deep.
    explicit FlatValue(std::string_view text) : input(text) {
        nodes.reserve(16);  // most bodies' first growths, at once
        JSONGrammar::read(text, *this);
    }

    json tree(std::uint32_t index = 0) const {
        const Node& node = nodes[index];
        switch (node.kind) {
        case Kind::object: {
            json object = json::object();
            for (const auto& [key, value] : members(index)) object[std::string(key)] = tree(value);
            return object;
        }
        case Kind::array: {
            json array = json::array();
            for (auto element = index + 1; element < node.end; element = nodes[element].end) array.push_back(tree(element));
            return array;
        }
        case Kind::string: return std::string(text(node));
        case Kind::number: return std::visit([](auto number) { return json(number); }, numberAt(node));
        case Kind::literal: return literalValue(node.literal);
        case Kind::key: break;
        }
        return nullptr;
    }

    void write(JSONWriter& writer, std::uint32_t index = 0) const {
        const Node& node = nodes[index];
        switch (node.kind) {
        case Kind::object: {
            auto inOrder = members(index);
            writer.beginObject();
            forLastOfEachKey(inOrder, [](const Member& member) { return member.first; },
                             [&](const Member& member) { writer.key(member.first), write(writer, member.second); });
            writer.endObject();
            return;
        }
        case Kind::array:
            writer.beginArray();
            for (auto element = index + 1; element < node.end; element = nodes[element].end) write(writer, element);
            writer.endArray();
            return;
        case Kind::string: return writer.value(text(node));
        case Kind::number: return std::visit([&writer](auto number) { writer.value(number); }, numberAt(node));
        case Kind::literal:
            if (node.literal == JSONGrammar::Literal::null) return writer.null();
            return writer.value(node.literal == JSONGrammar::Literal::trueValue);
        case Kind::key: return;
        }
    }

    // The grammar's handler.
    std::string& decoded() { return strings; }
    void valueStart(std::size_t offset) {
        if (openContainers.size() > depthLimit) JSONGrammar::failAt(offset);
    }
    void valueEnd(std::size_t) {}
    void key(std::size_t from) { add(Kind::key, from, strings.size() - from); }
    void string(std::size_t from) { add(Kind::string, from, strings.size() - from); }
    void literal(JSONGrammar::Literal literal) { add(Kind::literal, 0, 0).literal = literal; }
    bool number(std::string_view text) {
        if (!numberOf(text)) return false;  // out of a double's range
        add(Kind::number, static_cast<std::size_t>(text.data() - input.data()), text.size());
        return true;
    }
    void open(bool isObject) {
        openContainers.push_back(static_cast<std::uint32_t>(nodes.size()));
        add(isObject ? Kind::object : Kind::array, 0, 0);
    }
    void close() {
        nodes[openContainers.back()].end = static_cast<std::uint32_t>(nodes.size());
        openContainers.pop_back();
    }

private:
    enum class Kind : std::uint8_t { object, array, key, string, number, literal };

    // A member's key text and the index of its value.
    using Member = std::pair<std::string_view, std::uint32_t>;

    // A string's or a key's bytes in `strings`, a number's in the input.
    struct Node {
        Kind kind;
        JSONGrammar::Literal literal;
        std::uint32_t from;
        std::uint32_t size;
        std::uint32_t end;
    };

    static json literalValue(JSONGrammar::Literal literal) {
        if (literal == JSONGrammar::Literal::null) return nullptr;
        return literal == JSONGrammar::Literal::trueValue;
    }

    Node& add(Kind kind, std::size_t from, std::size_t size) {
        const auto index = static_cast<std::uint32_t>(nodes.size());
        return nodes.emplace_back(Node{kind, JSONGrammar::Literal::null, static_cast<std::uint32_t>(from),
                                       static_cast<std::uint32_t>(size), index + 1});
    }

    std::string_view text(const Node& node) const { return std::string_view(strings).substr(node.from, node.size); }
    Number numberAt(const Node& node) const { return *numberOf(input.substr(node.from, node.size)); }

    // An object's members in document order.
    std::vector<Member> members(std::uint32_t object) const {
        std::vector<Member> found;
        for (auto key = object + 1; key < nodes[object].end; key = nodes[key + 1].end) found.emplace_back(text(nodes[key]), key + 1);
        return found;
    }

    std::string_view input;
    std::vector<Node> nodes;
    std::string strings;
    std::vector<std::uint32_t> openContainers;  // innermost last
};

std::optional<FlatValue> flat(std::string_view text) {
    try {
        return FlatValue(text);
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

}  // namespace

std::optional<json> parsed(std::string_view text) {
    if (const auto value = flat(text)) return value->tree();
    return std::nullopt;
}

bool write(JSONWriter& writer, std::string_view text) {
    const auto value = flat(text);
    if (value) value->write(writer);
    return value.has_value();
}

}  // namespace tessaline::embeddedJSON
