#include "support/JSONReader.hpp"

#include "support/Base64.hpp"

#include <cmath>
#include <limits>

namespace tessaline {
namespace {

using Type = nlohmann::json::value_t;

std::string_view describe(const nlohmann::json& value) {
    switch (value.type()) {
    case Type::null: return "null";
    case Type::object: return "an object";
    case Type::array: return "an array";
    case Type::string: return "a string";
    case Type::boolean: return "a boolean";
    case Type::number_integer:
    case Type::number_unsigned:
    case Type::number_float: return "a number";
    case Type::binary: return "binary data";
    case Type::discarded: break;
    }
    return "nothing";
}

std::string_view describe(Type type) {
    switch (type) {
    case Type::object: return "an object";
    case Type::array: return "an array";
    case Type::string: return "a string";
    case Type::boolean: return "a boolean";
    default: return "a number";
    }
}

}  // namespace

JSONReader::JSONReader(const nlohmann::json& value, const JSONReader& parent, std::string_view key, std::size_t index)
    : value_(&value), parent_(&parent), key_(key), index_(index), depth_(parent.depth_ + 1) {
    if (depth_ > maximumDepth) fail(DecodingError::Kind::dataCorrupted, "The document is nested too deeply.");
}

nlohmann::json JSONReader::parse(std::string_view bytes) {
    try {
        return nlohmann::json::parse(bytes);
    } catch (const nlohmann::json::parse_error& error) {
        // The parser counts bytes read, one past the offending byte's zero-based offset.
        const auto offset = error.byte > 0 ? error.byte - 1 : 0;
        throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                            "The data is not valid JSON (error at offset " + std::to_string(offset) + ").");
    }
}

void JSONReader::appendPath(std::string& path) const {
    if (parent_ == nullptr) return;
    parent_->appendPath(path);
    if (key_.empty() && parent_->value_->is_array()) {
        path += '[' + std::to_string(index_) + ']';
    } else {
        if (!path.empty()) path += '.';
        path += key_;
    }
}

std::string JSONReader::codingPath() const {
    std::string path;
    appendPath(path);
    return path;
}

void JSONReader::fail(DecodingError::Kind kind, std::string description) const {
    throw DecodingError(kind, codingPath(), std::move(description));
}

void JSONReader::failType(std::string_view expected) const {
    const auto kind = value_->is_null() ? DecodingError::Kind::valueNotFound : DecodingError::Kind::typeMismatch;
    fail(kind, "Expected " + std::string(expected) + " but found " + std::string(describe(*value_)) + ".");
}

const nlohmann::json& JSONReader::checked(Type type) const {
    if (value_->type() != type) failType(describe(type));
    return *value_;
}

const nlohmann::json::object_t& JSONReader::object() const {
    return checked(Type::object).get_ref<const nlohmann::json::object_t&>();
}

JSONReader JSONReader::member(std::string_view key) const {
    const auto& members = object();
    const auto found = members.find(key);
    if (found == members.end()) {
        const JSONReader missing(*value_, *this, key, 0);
        missing.fail(DecodingError::Kind::keyNotFound, "Key not found.");
    }
    return {found->second, *this, found->first, 0};
}

std::optional<JSONReader> JSONReader::optionalMember(std::string_view key) const {
    const auto& members = object();
    const auto found = members.find(key);
    if (found == members.end() || found->second.is_null()) return std::nullopt;
    return JSONReader(found->second, *this, found->first, 0);
}

std::string JSONReader::string() const { return checked(Type::string).get<std::string>(); }

bool JSONReader::boolean() const { return checked(Type::boolean).get<bool>(); }

double JSONReader::number() const {
    if (!value_->is_number()) failType("a number");
    const double number = value_->get<double>();
    if (!std::isfinite(number)) fail(DecodingError::Kind::dataCorrupted, "The number is out of range.");
    return number;
}

std::int64_t JSONReader::integer() const {
    if (value_->is_number_integer() && !value_->is_number_unsigned()) return value_->get<std::int64_t>();
    if (value_->is_number_unsigned()) {
        if (value_->get<std::uint64_t>() <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            return value_->get<std::int64_t>();
        }
        fail(DecodingError::Kind::dataCorrupted, "The number is out of range.");
    }
    const double number = this->number();
    constexpr double bound = 9223372036854775808.0;  // 2^63
    if (std::trunc(number) != number) fail(DecodingError::Kind::dataCorrupted, "Expected an integer but found a fraction.");
    if (number >= bound || number < -bound) fail(DecodingError::Kind::dataCorrupted, "The number is out of range.");
    return static_cast<std::int64_t>(number);
}

Uuid JSONReader::uuid() const {
    auto text = string();
    const auto uuid = Uuid::parse(text);
    if (!uuid) fail(DecodingError::Kind::dataCorrupted, "Invalid UUID “" + text + "”.");
    return *uuid;
}

Date JSONReader::date() const {
    auto text = string();
    const auto date = parseISO8601(text);
    if (!date) fail(DecodingError::Kind::dataCorrupted, "Invalid ISO 8601 date “" + text + "”.");
    return *date;
}

std::string JSONReader::data() const {
    auto bytes = base64::decode(string());
    if (!bytes) fail(DecodingError::Kind::dataCorrupted, "Invalid Base64 data.");
    return std::move(*bytes);
}

}  // namespace tessaline
