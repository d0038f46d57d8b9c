#pragma once

#include "model/KeyValue.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The two application/x-www-form-urlencoded spellings met here, and the way back.
namespace tessaline::formEncoding {

// How the request builder writes a form field: letters, digits and - . _ * kept, a space as
// "+", every other byte as %XX.
std::string encoded(std::string_view text);

// How curl's --data-urlencode writes one: letters, digits and - . _ ~ kept, a space as "+",
// every other byte as %XX.
std::string curlEscaped(std::string_view text);

// %XX sequences decoded (a "%" that starts none is kept); "+" as a space when `plusIsSpace`.
std::string decoded(std::string_view text, bool plusIsSpace);

// The fields of a form body, when encoding them again gives back exactly `body`; absent when
// it would not (a pair without "=", or spelled in another way), so that nothing sent changes.
std::optional<std::vector<KeyValue>> rowsIfExact(std::string_view body);

}  // namespace tessaline::formEncoding
