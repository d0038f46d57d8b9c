#include "core/support/JSONReader.hpp"

#include "core/support/Base64.hpp"
#include "core/support/CurlyQuoted.hpp"

#include <cmath>

namespace tessaline {
namespace {

using Type = JSONDocument::Type;

std::string_view describe(Type type) {
    switch (type) {
    case Type::null: return "null";
    case Type::object: return "an object";
    case Type::array: return "an array";
    case Type::string: return "a string";
    case Type::boolean: return "a boolean";
    case Type::integer:
    case Type::number: return "a number";
    }
    return {};
}

}  // namespace

JSONReader::JSONReader(const JSONReader& parent, std::uint32_t node, std::string_view key, std::size_t index)
    : source(parent.source), at(node), enclosing(&parent), memberKey(key), elementIndex(index), depth(parent.depth + 1) {
    if (depth > maximumDepth) fail(DecodingError::Kind::malformed, "The document is nested too deeply.");
}

void JSONReader::appendPath(std::string& path) const {
    if (enclosing == nullptr) return;
    enclosing->appendPath(path);
    if (enclosing->value().type == Type::array) {
        path += '[' + std::to_string(elementIndex) + ']';
    } else {
        if (!path.empty()) path += '.';
        path += memberKey;
    }
}

std::string JSONReader::path() const {
    std::string path;
    appendPath(path);
    return path;
}

void JSONReader::fail(DecodingError::Kind kind, std::string description) const {
    throw DecodingError(kind, path(), std::move(description));
}

void JSONReader::failType(std::string_view expected) const {
    const auto found = value().type;
    const auto kind = found == Type::null ? DecodingError::Kind::nullValue : DecodingError::Kind::wrongType;
    fail(kind, "Expected " + std::string(expected) + " but found " + std::string(describe(found)) + ".");
}

const JSONDocument::Node& JSONReader::checked(Type type) const {
    if (value().type != type) failType(describe(type));
    return value();
}

std::optional<std::uint32_t> JSONReader::find(std::string_view key) const {
    checked(Type::object);
    return source->member(at, key);
}

void JSONReader::requireObject() const { checked(Type::object); }

bool JSONReader::contains(std::string_view key) const { return find(key).has_value(); }

JSONReader JSONReader::member(std::string_view key) const {
    const auto found = find(key);
    if (!found) JSONReader(*this, at, key, 0).fail(DecodingError::Kind::missingKey, "Key not found.");
    return {*this, *found, key, 0};
}

std::optional<JSONReader> JSONReader::optionalMember(std::string_view key) const {
    const auto found = find(key);
    if (!found || source->node(*found).type == Type::null) return std::nullopt;
    return JSONReader(*this, *found, key, 0);
}

std::string JSONReader::string() const { return std::string(text()); }

bool JSONReader::boolean() const { return checked(Type::boolean).flag; }

double JSONReader::number() const {
    const auto& node = value();
    if (node.type != Type::integer && node.type != Type::number) failType("a number");
    if (!std::isfinite(node.numeric())) fail(DecodingError::Kind::malformed, "The number is out of range.");
    return node.numeric();
}

std::int64_t JSONReader::integer() const {
    if (value().type == Type::integer) return value().payload.integer;
    const double number = this->number();
    constexpr double bound = 9223372036854775808.0;  // 2^63
    if (std::trunc(number) != number) fail(DecodingError::Kind::malformed, "Expected an integer but found a fraction.");
    if (number >= bound || number < -bound) fail(DecodingError::Kind::malformed, "The number is out of range.");
    return static_cast<std::int64_t>(number);
}

std::string_view JSONReader::text() const {
    checked(Type::string);
    return source->text(at);
}

Uuid JSONReader::uuid() const {
    const auto text = this->text();
    const auto uuid = Uuid::parse(text);
    if (!uuid) fail(DecodingError::Kind::malformed, "Invalid UUID " + curlyQuoted(text) + ".");
    return *uuid;
}

Date JSONReader::date() const {
    const auto text = this->text();
    const auto date = parseISO8601(text);
    if (!date) fail(DecodingError::Kind::malformed, "Invalid ISO 8601 date " + curlyQuoted(text) + ".");
    return *date;
}

std::string JSONReader::data() const {
    auto bytes = base64::decode(text());
    if (!bytes) fail(DecodingError::Kind::malformed, "Invalid Base64 data.");
    return std::move(*bytes);
}

}  // namespace tessaline
