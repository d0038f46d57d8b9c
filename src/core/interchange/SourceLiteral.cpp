#include "core/interchange/SourceLiteral.hpp"

#include "core/support/JSONString.hpp"
#include "core/support/Utf8.hpp"

#include <cstdio>

namespace tessaline::sourceLiteral {
namespace {

std::string hexEscape(const char* format, unsigned value) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

}  // namespace

std::string shell(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string doubleQuoted(std::string_view text) {
    return jsonString::quoted(utf8::repaired(text), jsonString::ShortEscapes::all);
}

std::string swift(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : utf8::repaired(text)) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"': quoted += "\\\""; break;
        case '\\': quoted += "\\\\"; break;
        case '\n': quoted += "\\n"; break;
        case '\r': quoted += "\\r"; break;
        case '\t': quoted += "\\t"; break;
        case '\0': quoted += "\\0"; break;
        default: quoted += byte < 0x20 || byte == 0x7F ? hexEscape("\\u{%X}", byte) : std::string(1, c);
        }
    }
    return quoted + "\"";
}

std::string go(std::string_view bytes) {
    if (utf8::isValid(bytes) && bytes.find_first_of("`\r") == std::string_view::npos) {
        return std::string("`").append(bytes).append("`");
    }
    std::string quoted = "\"";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte == '"' || byte == '\\') quoted += std::string("\\") + bytes[i];
        else if (byte == '\n') quoted += "\\n";
        else if (byte == '\r') quoted += "\\r";
        else if (byte == '\t') quoted += "\\t";
        else if (byte >= 0x20 && byte < 0x7F) quoted += bytes[i];
        else quoted += hexEscape("\\x%02x", byte);
    }
    return quoted + "\"";
}

}  // namespace tessaline::sourceLiteral
