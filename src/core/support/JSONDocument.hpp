#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

// A parsed JSON document held flat for fast, read-only access: every value is one node in
// document order, and a container's members follow it up to the index where its subtree
// ends (an object's as key, value, key, value, ...). Strings live in one shared buffer, and
// each object's keys are also listed side by side in a member table for lookups.
// Read it through JSONReader.
class JSONDocument {
public:
    enum class Type : std::uint8_t { null, boolean, integer, number, string, array, object };

    // A run of bytes in the string buffer, or of entries in the member table.
    struct Span {
        std::uint32_t offset;
        std::uint32_t length;
    };

    // One value in 16 bytes. The payload holds what the type needs: `integer` for an integer,
    // `number` for a number, `span` for a string (its bytes) and for an object (its members).
    struct Node {
        Type type = Type::null;
        bool flag = false;      // boolean
        std::uint32_t end = 0;  // one past the last node of this value's subtree
        union Payload {
            std::int64_t integer;
            double number;
            Span span;
        } payload{.integer = 0};

        // The value of an integer or a number.
        double numeric() const { return type == Type::integer ? static_cast<double>(payload.integer) : payload.number; }
    };

    // Throws DecodingError (with an empty path) when the bytes are not strict JSON
    // (RFC 8259; a leading byte order mark is allowed, numbers beyond a double's range are not).
    static JSONDocument parse(std::string_view bytes);

    const Node& node(std::uint32_t index) const { return nodes[index]; }
    // The text of a string node.
    std::string_view text(std::uint32_t index) const { return text(nodes[index].payload.span); }
    // The index of the value under key in the object node at `object`; the last one counts
    // when the key repeats.
    std::optional<std::uint32_t> member(std::uint32_t object, std::string_view key) const;

private:
    class Builder;

    struct Member {
        Span key;
        std::uint32_t value;
    };

    std::string_view text(Span span) const { return {strings.data() + span.offset, span.length}; }

    std::vector<Node> nodes;
    std::string strings;
    std::vector<Member> memberTable;  // each object's members in document order, objects in the order they end
};

}  // namespace tessaline
