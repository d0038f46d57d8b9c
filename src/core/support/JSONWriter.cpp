#include "core/support/JSONWriter.hpp"

#include "core/support/Error.hpp"
#include "core/support/JSONString.hpp"
#include "core/support/Utf8.hpp"

#include <cassert>
#include <charconv>
#include <cmath>

namespace tessaline {
namespace {

template <typename Integer>
void appendInteger(std::string& out, Integer number) {
    char digits[24];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

}  // namespace

std::string JSONWriter::write(const nlohmann::json& value) {
    JSONWriter writer;
    writer.append(value);
    return std::move(writer).text();
}

void JSONWriter::append(const nlohmann::json& value) {
    using Type = nlohmann::json::value_t;
    switch (value.type()) {
    case Type::object:
        beginObject();
        for (const auto& [name, member] : value.items()) {
            key(name);
            append(member);
        }
        endObject();
        break;
    case Type::array:
        beginArray();
        for (const auto& element : value) append(element);
        endArray();
        break;
    case Type::string: this->value(value.get_ref<const std::string&>()); break;
    case Type::boolean: this->value(value.get<bool>()); break;
    case Type::number_integer: this->value(value.get<std::int64_t>()); break;
    case Type::number_unsigned: this->value(value.get<std::uint64_t>()); break;
    case Type::number_float: this->value(value.get<double>()); break;
    case Type::null:
    case Type::binary:
    case Type::discarded: null(); break;
    }
}

// A line break and the indentation of most lines in one append: a send's summary has dozens.
void JSONWriter::newline(std::size_t depth) {
    static constexpr std::string_view breakAndIndent =
        "\n                                                                ";
    const std::size_t length = 1 + 2 * depth;
    if (length <= breakAndIndent.size()) {
        out.append(breakAndIndent.data(), length);
        return;
    }
    out += '\n';
    out.append(2 * depth, ' ');
}

// Every value but the first of its array or object starts a new line after a comma; an
// object member's value follows its key on the same line.
void JSONWriter::beforeValue() {
    if (afterKey) {
        afterKey = false;
        return;
    }
    if (levels.empty()) return;
    auto& level = levels.back();
    if (!level.isEmpty) out += ',';
    level.isEmpty = false;
    newline(levels.size());
}

void JSONWriter::beginObject() {
    beforeValue();
    out += '{';
    levels.push_back({.isObject = true});
}

void JSONWriter::beginArray() {
    beforeValue();
    out += '[';
    levels.push_back({.isObject = false});
}

void JSONWriter::close(char bracket) {
    const bool wasEmpty = levels.back().isEmpty;
    levels.pop_back();
    if (!wasEmpty) newline(levels.size());
    out += bracket;
}

void JSONWriter::endObject() {
    assert(!levels.empty() && levels.back().isObject);
    close('}');
}

void JSONWriter::endArray() {
    assert(!levels.empty() && !levels.back().isObject);
    close(']');
}

void JSONWriter::key(std::string_view key) {
    assert(!levels.empty() && levels.back().isObject && !afterKey);
    assert(levels.back().isEmpty || levels.back().lastKey < key);
#ifndef NDEBUG
    levels.back().lastKey = key;
#endif
    beforeValue();
    jsonString::appendQuoted(out, key, jsonString::ShortEscapes::all);
    out += ": ";
    afterKey = true;
}

void JSONWriter::value(std::string_view text) {
    beforeValue();
    if (utf8::isValid(text)) {
        jsonString::appendQuoted(out, text, jsonString::ShortEscapes::all);
    } else {
        jsonString::appendQuoted(out, utf8::repaired(text), jsonString::ShortEscapes::all);
    }
}

void JSONWriter::value(bool flag) {
    beforeValue();
    out += flag ? "true" : "false";
}

void JSONWriter::value(std::int64_t number) {
    beforeValue();
    appendInteger(out, number);
}

void JSONWriter::value(std::uint64_t number) {
    beforeValue();
    appendInteger(out, number);
}

void JSONWriter::value(double number) {
    if (!std::isfinite(number)) throw Error("The number " + std::to_string(number) + " cannot be written as JSON.");
    constexpr double exactIntegers = 9007199254740992.0;  // 2^53: beyond it every double is integral
    if (std::trunc(number) == number && std::fabs(number) < exactIntegers) {
        value(static_cast<std::int64_t>(number));
        return;
    }
    beforeValue();
    char digits[32];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void JSONWriter::null() {
    beforeValue();
    out += "null";
}

}  // namespace tessaline
