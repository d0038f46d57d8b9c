#pragma once

#include <string>
#include <string_view>

// Percent-encoding of text for URLs and form bodies.
namespace tessaline::percentEncoding {

// The text with every byte of its UTF-8 form written as "%XX" (upper-case hexadecimal),
// except ASCII letters, digits and the characters of `kept`. With `kept` "-._*" this is how
// form fields are written, before any "%20" becomes "+".
std::string encode(std::string_view text, std::string_view kept);

}  // namespace tessaline::percentEncoding
