#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Text operations that follow Unicode rather than bytes: lower-casing by the root locale's
// rules, and counting user-perceived characters (grapheme clusters: "\r\n" is one, so is
// an emoji family), where the counts and cuts are those of ICU's character break iterator.
// Ill-formed UTF-8 is read as U+FFFD, one per maximal subpart.
namespace tessaline::unicodeText {

std::string lowercased(std::string_view text);

std::size_t characterCount(std::string_view text);

// The first `count` characters of the text (all of it when it has fewer), found without
// reading past the first code point of the character after them.
std::string_view characterPrefix(std::string_view text, std::size_t count);

}  // namespace tessaline::unicodeText
