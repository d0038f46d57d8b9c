#include "core/support/JSONDocument.hpp"

#include "core/support/DecodingError.hpp"
#include "core/support/JSONGrammar.hpp"

#include <limits>

namespace tessaline {

static_assert(sizeof(JSONDocument::Node) == 16);

// Appends nodes as the grammar's values complete; open containers wait on a stack for the
// index where they end.
class JSONDocument::Builder {
public:
    explicit Builder(JSONDocument& document) : target(document) {}

    std::string& decoded() { return target.strings; }
    void valueStart(std::size_t) {}
    void valueEnd(std::size_t) {}

    // A key is a string node too, followed by its value's.
    void key(std::size_t from) {
        string(from);
        pending.push_back({span(from), nextIndex()});
    }

    void string(std::size_t from) { add({.type = Type::string, .payload = {.span = span(from)}}); }

    void literal(JSONGrammar::Literal literal) {
        if (literal == JSONGrammar::Literal::null) return add({.type = Type::null});
        add({.type = Type::boolean, .flag = literal == JSONGrammar::Literal::trueValue});
    }

    // Integers that fit 64 signed bits are kept exactly; any other number is the nearest
    // double, and one beyond a double's range is refused.
    bool number(std::string_view text) {
        const auto value = JSONGrammar::numberValue(text);
        if (!value) return false;
        if (const auto* integer = std::get_if<std::int64_t>(&*value)) {
            add({.type = Type::integer, .payload = {.integer = *integer}});
        } else {
            add({.type = Type::number, .payload = {.number = std::get<double>(*value)}});
        }
        return true;
    }

    void open(bool isObject) {
        openContainers.push_back({nextIndex(), static_cast<std::uint32_t>(pending.size()), isObject});
        target.nodes.push_back({.type = isObject ? Type::object : Type::array});
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

private:
    std::uint32_t nextIndex() const { return static_cast<std::uint32_t>(target.nodes.size()); }

    Span span(std::size_t from) const {
        return {static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(target.strings.size() - from)};
    }

    void add(Node node) {
        node.end = nextIndex() + 1;
        target.nodes.push_back(node);
    }

    struct OpenContainer {
        std::uint32_t node;
        std::uint32_t firstPending;  // an object's first member on `pending`
        bool isObject;
    };

    JSONDocument& target;
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
    Builder builder(document);
    JSONGrammar::read(bytes, builder);
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
