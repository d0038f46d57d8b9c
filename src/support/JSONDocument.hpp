#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

// A parsed JSON document held flat for fast, read-only access: every value is one node in
// document order, and a container's members follow it up to the index where its subtree
// ends (an object's as key, value, key, value, ...). Strings live in one shared buffer.
// Built with nlohmann's SAX parser; read it through JSONReader.
class JSONDocument {
public:
    enum class Type : std::uint8_t { null, boolean, integer, number, string, array, object };

    struct Node {
        Type type = Type::null;
        bool flag = false;             // boolean
        std::uint32_t end = 0;         // one past the last node of this value's subtree
        std::int64_t integer = 0;      // integer
        double number = 0;             // integer and number
        std::uint32_t textOffset = 0;  // string (object keys included), in the buffer
        std::uint32_t textLength = 0;
    };

    // Throws DecodingError (with an empty coding path) when the bytes are not JSON.
    static JSONDocument parse(std::string_view bytes);

    const Node& node(std::uint32_t index) const { return nodes_[index]; }
    std::string_view text(std::uint32_t index) const;

private:
    class Builder;

    std::vector<Node> nodes_;
    std::string strings_;
};

}  // namespace tessaline
