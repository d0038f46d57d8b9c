#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "core/support/Error.hpp"
#include "desktop/json/JSONValue.hpp"

// A lenient JSON reader for response bodies, and the writer of its trees.
//
// The reader keeps every detail a faithful display needs (see JSONValue) and reports the
// first error with its byte offset. It is deliberately forgiving: numbers are any run of
// 0-9 + - . e E, unknown escapes stand for the escaped byte, raw control characters pass,
// and invalid UTF-8 in strings becomes U+FFFD. It imposes no nesting limit.
namespace tessaline::jsonParser {

// The first error of a text, at its byte offset.
class ParseError : public Error {
public:
    ParseError(std::ptrdiff_t offset, std::string message);
    // 0-based index into the UTF-8 input.
    std::ptrdiff_t offset() const { return at; }
    const std::string& message() const { return reason; }

private:
    std::ptrdiff_t at;
    std::string reason;
};

JSONValue parse(std::string_view bytes);

// Objects and arrays one member per line, each nested level `indent` deeper, starting at
// `level` levels; empty containers stay "{}" and "[]"; scalars are their literal.
std::string serialize(const JSONValue& value, std::string_view indent, size_t level = 0);

// The JSON string literal of a UTF-8 text: only '"', '\\' and controls are escaped.
std::string quote(std::string_view text);

}  // namespace tessaline::jsonParser
