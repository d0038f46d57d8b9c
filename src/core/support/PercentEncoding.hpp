#pragma once

#include <optional>
#include <string>
#include <string_view>

// Percent-encoding of text for URLs and form bodies.
namespace tessaline::percentEncoding {

// How a blank is spelled: as "%20" like any other escaped byte, or as "+", which form
// decoders read as a blank.
enum class Blank { escaped, plus };

// The text with every byte of its UTF-8 form written as "%XX" (upper-case hexadecimal),
// except ASCII letters, digits and the characters of `kept`, and a blank as `blank` says.
std::string encode(std::string_view text, std::string_view kept, Blank blank = Blank::escaped);

// Every "%XX" (hexadecimal digits in either case) turned back into its byte; everything else,
// a "%" that begins no such sequence included, kept as it is. With Blank::plus a "+" is read
// as a blank (and "%2B" still as "+").
std::string decode(std::string_view text, Blank blank = Blank::escaped);

// decode(), but absent when a "%" begins no "%XX" sequence.
std::optional<std::string> decodeStrictly(std::string_view text);

}  // namespace tessaline::percentEncoding
