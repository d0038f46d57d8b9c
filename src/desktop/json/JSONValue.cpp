#include "desktop/json/JSONValue.hpp"

#include <algorithm>

#include "core/support/Overloaded.hpp"
#include "desktop/json/JSONParser.hpp"

namespace tessaline {

JSONValue::JSONValue(const JSONValue& other) : payload(shell(other).payload) {
    Copies pending{{&other, this}};
    while (!pending.empty()) {
        const auto [source, target] = pending.back();
        pending.pop_back();
        target->copyChildren(*source, pending);
    }
}

JSONValue& JSONValue::operator=(const JSONValue& other) {
    return *this = JSONValue(other);
}

// The old tree is destroyed only after the new one is in place, so assigning a value's own
// descendant to it is safe.
JSONValue& JSONValue::operator=(JSONValue&& other) noexcept {
    JSONValue taken(std::move(other));
    std::swap(payload, taken.payload);
    return *this;
}

void JSONValue::releaseTree() {
    std::vector<JSONValue> pending;
    releaseChildren(pending);
    while (!pending.empty()) {
        JSONValue next = std::move(pending.back());
        pending.pop_back();
        next.releaseChildren(pending);
    }
}

std::string JSONValue::literal() const {
    return std::visit(Overloaded{
                          [](const Object&) { return std::string(); },
                          [](const Array&) { return std::string(); },
                          [](const std::string& text) { return jsonParser::quote(text); },
                          [](const Number& number) { return std::string(number.text()); },
                          [](bool flag) { return std::string(flag ? "true" : "false"); },
                          [](std::nullptr_t) { return std::string("null"); },
                      },
                      payload);
}

bool JSONValue::operator==(const JSONValue& other) const {
    Comparisons pending{{this, &other}};
    while (!pending.empty()) {
        const auto [left, right] = pending.back();
        pending.pop_back();
        if (!left->sameLevel(*right, pending)) return false;
    }
    return true;
}

JSONValue JSONValue::shell(const JSONValue& value) {
    if (std::holds_alternative<Object>(value.payload)) return JSONValue(Object());
    if (std::holds_alternative<Array>(value.payload)) return JSONValue(Array());
    return JSONValue(Storage(value.payload));
}

void JSONValue::copyChildren(const JSONValue& source, Copies& pending) {
    if (const auto* members = std::get_if<Object>(&source.payload)) {
        auto& copies = std::get<Object>(payload);
        copies.reserve(members->size());
        for (const Member& member : *members) {
            copies.push_back({member.key, shell(member.value)});
            if (member.value.childCount() > 0) pending.emplace_back(&member.value, &copies.back().value);
        }
    } else if (const auto* elements = std::get_if<Array>(&source.payload)) {
        auto& copies = std::get<Array>(payload);
        copies.reserve(elements->size());
        for (const JSONValue& element : *elements) {
            copies.push_back(shell(element));
            if (element.childCount() > 0) pending.emplace_back(&element, &copies.back());
        }
    }
}

bool JSONValue::sameLevel(const JSONValue& other, Comparisons& pending) const {
    if (payload.index() != other.payload.index()) return false;
    if (const auto* members = std::get_if<Object>(&payload)) {
        const auto& others = std::get<Object>(other.payload);
        if (members->size() != others.size()) return false;
        for (size_t i = 0; i < members->size(); ++i) {
            if ((*members)[i].key != others[i].key) return false;
            pending.emplace_back(&(*members)[i].value, &others[i].value);
        }
        return true;
    }
    if (const auto* elements = std::get_if<Array>(&payload)) {
        const auto& others = std::get<Array>(other.payload);
        if (elements->size() != others.size()) return false;
        for (size_t i = 0; i < elements->size(); ++i) pending.emplace_back(&(*elements)[i], &others[i]);
        return true;
    }
    return payload == other.payload;
}

bool JSONValue::hasNestedContainer() const {
    const auto nonEmpty = [](const JSONValue& child) { return child.childCount() > 0; };
    if (const auto* members = std::get_if<Object>(&payload)) {
        return std::any_of(members->begin(), members->end(), [&](const Member& member) { return nonEmpty(member.value); });
    }
    if (const auto* elements = std::get_if<Array>(&payload)) return std::any_of(elements->begin(), elements->end(), nonEmpty);
    return false;
}

// A child without nested containers is destroyed in place: its own destructor then only
// meets scalars and empty containers, so that recursion stays one level deep.
void JSONValue::releaseChildren(std::vector<JSONValue>& pending) {
    const auto release = [&pending](JSONValue& child) {
        if (child.hasNestedContainer()) pending.push_back(std::move(child));
    };
    if (auto* members = std::get_if<Object>(&payload)) {
        for (Member& member : *members) release(member.value);
        members->clear();
    } else if (auto* elements = std::get_if<Array>(&payload)) {
        for (JSONValue& element : *elements) release(element);
        elements->clear();
    }
}

}  // namespace tessaline
