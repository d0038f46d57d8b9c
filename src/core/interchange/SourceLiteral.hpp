#pragma once

#include <string>
#include <string_view>

// Text written as a literal of the languages that code snippets are in, so that running the
// snippet gives back exactly that text: quotes, backslashes, line breaks, control characters
// and non-ASCII text included.
namespace tessaline::sourceLiteral {

// A single-quoted POSIX shell word; a ' inside is written '\''.
std::string shell(std::string_view text);

// A double-quoted string with JSON's escapes, which JavaScript, Python and Go read alike.
// The text must be UTF-8 (bad sequences are written as U+FFFD).
std::string doubleQuoted(std::string_view text);

// A Swift string literal: \" \\ \n \r \t \0 and \u{...} for other control characters.
std::string swift(std::string_view text);

// A Go string literal of any bytes: a raw `...` literal when the text is UTF-8 without a
// backquote or carriage return (which a raw literal would drop), else an interpreted one,
// with \xNN for bytes that are not UTF-8.
std::string go(std::string_view bytes);

}  // namespace tessaline::sourceLiteral
