#pragma once

#include <concepts>
#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "desktop/json/JSONNumber.hpp"

namespace tessaline {

// A parsed JSON document that keeps what a faithful display needs: object members in source
// order with duplicate keys kept as separate members, and numbers as their source text.
//
// Trees may be nested arbitrarily deep (a response body of 100,000 nested arrays is legal
// input): copying, comparing and destroying a value never recurse per nesting level.
class JSONValue {
public:
    struct Member;
    using Object = std::vector<Member>;
    using Array = std::vector<JSONValue>;
    using Number = JSONNumber;
    using Storage = std::variant<Object, Array, std::string, Number, bool, std::nullptr_t>;

    JSONValue() noexcept;
    JSONValue(Object members) noexcept;
    JSONValue(Array elements) noexcept;
    JSONValue(std::string text) noexcept;
    JSONValue(Number number) noexcept;
    // Constrained so that a string literal never converts to a boolean.
    template <std::same_as<bool> Bool>
    JSONValue(Bool flag) noexcept;
    JSONValue(std::nullptr_t) noexcept;

    JSONValue(const JSONValue& other);
    JSONValue(JSONValue&& other) noexcept;
    JSONValue& operator=(const JSONValue& other);
    JSONValue& operator=(JSONValue&& other) noexcept;
    ~JSONValue();

    const Storage& storage() const { return payload; }
    Storage& storage() { return payload; }

    bool isContainer() const {
        return std::holds_alternative<Object>(payload) || std::holds_alternative<Array>(payload);
    }
    // Members of an object or elements of an array; 0 for a scalar.
    size_t childCount() const;
    // A scalar's display text: a quoted string, a number's text, "true", "false" or "null".
    // A container has no literal (the empty text); jsonParser::serialize renders it.
    std::string literal() const;

    // Structural: member order matters, numbers compare by their text.
    bool operator==(const JSONValue& other) const;

private:
    using Copies = std::vector<std::pair<const JSONValue*, JSONValue*>>;
    using Comparisons = std::vector<std::pair<const JSONValue*, const JSONValue*>>;

    explicit JSONValue(Storage storage) noexcept;
    // The value itself for a scalar, an empty container of the same case for a container.
    static JSONValue shell(const JSONValue& value);
    // Fills this shell with shells of `source`'s children; queues the non-empty ones.
    void copyChildren(const JSONValue& source, Copies& pending);
    // Same case, same scalar, same size and keys; queues the children to compare next.
    bool sameLevel(const JSONValue& other, Comparisons& pending) const;
    // Destroys the children level by level from a work list instead of by recursion.
    void releaseTree();
    bool hasNestedContainer() const;
    // Empties this container, moving the children that hold non-empty containers onto `pending`.
    void releaseChildren(std::vector<JSONValue>& pending);

    Storage payload;
};

struct JSONValue::Member {
    std::string key;
    JSONValue value;
    bool operator==(const Member&) const = default;
};

// Defined here, where Member is complete.
inline JSONValue::JSONValue() noexcept : payload(nullptr) {}
inline JSONValue::JSONValue(JSONValue&& other) noexcept = default;
inline JSONValue::~JSONValue() {
    if (isContainer()) releaseTree();
}
inline JSONValue::JSONValue(Object members) noexcept : payload(std::move(members)) {}
inline JSONValue::JSONValue(Array elements) noexcept : payload(std::move(elements)) {}
inline JSONValue::JSONValue(std::string text) noexcept : payload(std::move(text)) {}
inline JSONValue::JSONValue(Number number) noexcept : payload(std::move(number)) {}
template <std::same_as<bool> Bool>
inline JSONValue::JSONValue(Bool flag) noexcept : payload(flag) {}
inline JSONValue::JSONValue(std::nullptr_t) noexcept : payload(nullptr) {}
inline JSONValue::JSONValue(Storage storage) noexcept : payload(std::move(storage)) {}

inline size_t JSONValue::childCount() const {
    if (const auto* members = std::get_if<Object>(&payload)) return members->size();
    if (const auto* elements = std::get_if<Array>(&payload)) return elements->size();
    return 0;
}

}  // namespace tessaline
