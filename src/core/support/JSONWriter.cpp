#include "core/support/JSONWriter.hpp"

#include "core/support/Error.hpp"
#include "core/support/Utf8.hpp"

#include <cassert>
#include <charconv>
#include <cmath>

namespace tessaline {
namespace {

bool needsEscape(char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; }

void appendEscaped(std::string& out, std::string_view text) {
    out += '"';
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (!needsEscape(c)) continue;
        out.append(text.substr(start, i - start));
        start = i + 1;
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\b': out += "\\b"; break;
        case '\f': out += "\\f"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            out += "\\u00";
            out += "0123456789abcdef"[(c >> 4) & 0x0F];
            out += "0123456789abcdef"[c & 0x0F];
        }
    }
    out.append(text.substr(start));
    out += '"';
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
    case Type::number_unsigned: {
        const auto number = value.get<std::uint64_t>();
        beforeValue();
        out += std::to_string(number);
        break;
    }
    case Type::number_float: this->value(value.get<double>()); break;
    case Type::null:
    case Type::binary:
    case Type::discarded: null(); break;
    }
}

void JSONWriter::newline(std::size_t depth) {
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
    appendEscaped(out, key);
    out += ": ";
    afterKey = true;
}

void JSONWriter::value(std::string_view text) {
    beforeValue();
    if (utf8::isValid(text)) {
        appendEscaped(out, text);
    } else {
        appendEscaped(out, utf8::repaired(text));
    }
}

void JSONWriter::value(bool flag) {
    beforeValue();
    out += flag ? "true" : "false";
}

void JSONWriter::value(std::int64_t number) {
    beforeValue();
    char digits[24];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
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
