#pragma once

#include <string>
#include <string_view>

// Percent-encoding of text for URLs and form bodies.
namespace tessaline::percentEncoding {

// The text with every byte of its UTF-8 form written as "%XX" (upper-case hexadecimal),
// except ASCII letters, digits and the characters of `kept`. With `kept` "-._*" this is how
// form fields are written, before any "%20" becomes "+".
std::string encode(std::string_view text, std::string_view kept);

// Every "%XX" (hexadecimal digits in either case) turned back into its byte; everything else,
// "+" and a "%" that begins no such sequence included, kept as it is.
std::string decode(std::string_view text);

}  // namespace tessaline::percentEncoding
