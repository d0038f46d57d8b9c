#pragma once

#include <string>
#include <string_view>

// UTF-8 validation and repair. Text that reaches the system from outside (input lines,
// response bodies, files) is turned into valid UTF-8 here, never rejected.
namespace tessaline::utf8 {

bool isValid(std::string_view bytes);

// The bytes with every ill-formed sequence replaced by U+FFFD, one replacement per maximal
// subpart as the Unicode standard recommends (the same count a platform decoder yields).
std::string repaired(std::string_view bytes);

// Appends the UTF-8 encoding of a Unicode scalar value.
void appendScalar(std::string& out, char32_t scalar);

inline constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

}  // namespace tessaline::utf8
