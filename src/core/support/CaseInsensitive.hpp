#pragma once

#include <string>
#include <string_view>

// Unicode-aware comparisons of UTF-8 texts that ignore case, not ASCII alone. Ill-formed
// UTF-8 counts as if each bad sequence were U+FFFD.
namespace tessaline::caseInsensitive {

// Equal after full case folding: "STRASSE" equals "straße".
bool equal(std::string_view text, std::string_view otherText);

// The text after full case folding. To compare one text with many, fold it once: two texts
// are equal ignoring case exactly when their folded forms are equal.
std::string folded(std::string_view text);

}  // namespace tessaline::caseInsensitive
