// Any bytes: JSONDocument::parse accepts exactly what nlohmann::json::accept accepts, save
// that nlohmann ends its input at a NUL byte between tokens, and when both accept, the
// document holds the values nlohmann reads.
#include "core/support/DecodingError.hpp"
#include "core/support/JSONDocument.hpp"

#include <nlohmann/json.hpp>

#include <bit>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using tessaline::JSONDocument;
using Type = JSONDocument::Type;
using Value = nlohmann::json::value_t;

void require(bool condition) {
    if (!condition) std::abort();
}

// The offset the error names, or nothing when the bytes parse.
std::optional<std::size_t> errorOffset(std::string_view bytes) {
    try {
        JSONDocument::parse(bytes);
    } catch (const tessaline::DecodingError& error) {
        const std::string message = error.what();
        const std::string prefix = "The data is not valid JSON (error at offset ";
        require(message.starts_with(prefix) && message.ends_with(")."));
        const auto offset = std::stoul(message.substr(prefix.size()));
        require(offset <= bytes.size());
        return offset;
    }
    return std::nullopt;
}

bool sameNumber(double expected, const JSONDocument::Node& node) {
    return node.type == Type::number && std::bit_cast<std::uint64_t>(expected) == std::bit_cast<std::uint64_t>(node.payload.number);
}

bool sameInteger(std::int64_t expected, const JSONDocument::Node& node) {
    return node.type == Type::integer && node.payload.integer == expected;
}

// Walks both trees with a heap stack, as deep documents would overflow the call stack.
void requireSameValues(const nlohmann::json& root, const JSONDocument& document) {
    std::vector<std::pair<const nlohmann::json*, std::uint32_t>> pending{{&root, 0}};
    while (!pending.empty()) {
        const auto [expected, index] = pending.back();
        pending.pop_back();
        const auto& node = document.node(index);
        switch (expected->type()) {
        case Value::null: require(node.type == Type::null); break;
        case Value::boolean: require(node.type == Type::boolean && node.flag == expected->get<bool>()); break;
        case Value::number_integer: require(sameInteger(expected->get<std::int64_t>(), node)); break;
        case Value::number_unsigned: {
            const auto value = expected->get<std::uint64_t>();
            constexpr auto largestInteger = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
            require(value <= largestInteger ? sameInteger(static_cast<std::int64_t>(value), node)
                                            : sameNumber(static_cast<double>(value), node));
            break;
        }
        case Value::number_float: require(sameNumber(expected->get<double>(), node)); break;
        case Value::string:
            require(node.type == Type::string && document.text(index) == expected->get_ref<const std::string&>());
            break;
        case Value::array: {
            require(node.type == Type::array);
            auto child = index + 1;
            for (const auto& element : *expected) {
                require(child < node.end);
                pending.emplace_back(&element, child);
                child = document.node(child).end;
            }
            require(child == node.end);
            break;
        }
        case Value::object:
            require(node.type == Type::object);
            for (auto key = index + 1; key < node.end; key = document.node(key + 1).end) {
                require(expected->contains(std::string(document.text(key))));
            }
            for (const auto& [key, value] : expected->items()) {
                const auto found = document.member(index, key);
                require(found.has_value());
                pending.emplace_back(&value, *found);
            }
            break;
        case Value::binary:
        case Value::discarded: require(false);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto offset = errorOffset(bytes);
    const bool nlohmannAccepts = nlohmann::json::accept(bytes.begin(), bytes.end());
    if (offset) {
        const bool stopsAtNUL = *offset < size && bytes[*offset] == '\0' && !errorOffset(bytes.substr(0, *offset)) &&
            nlohmann::json::accept(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(*offset));
        require(nlohmannAccepts == stopsAtNUL);
        return 0;
    }
    require(nlohmannAccepts);
    requireSameValues(nlohmann::json::parse(bytes.begin(), bytes.end()), JSONDocument::parse(bytes));
    return 0;
}
