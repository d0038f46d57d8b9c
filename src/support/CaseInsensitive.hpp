#pragma once

#include <string_view>

// Unicode-aware comparisons of UTF-8 texts that ignore case, not ASCII alone. Ill-formed
// UTF-8 counts as if each bad sequence were U+FFFD.
namespace tessaline::caseInsensitive {

// Equal after full case folding: "STRASSE" equals "straße".
bool equal(std::string_view text, std::string_view otherText);

// `part` occurs in `text` once both are lower-cased (root locale); an empty part always does.
bool contains(std::string_view text, std::string_view part);

}  // namespace tessaline::caseInsensitive
