#pragma once

#include "core/model/KeyValue.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// curl's spelling of application/x-www-form-urlencoded data, and the way back.
namespace tessaline::formEncoding {

// How curl's --data-urlencode writes one: letters, digits and - . _ ~ kept, a space as "+",
// every other byte as %XX.
std::string curlEscaped(std::string_view text);

// %XX sequences decoded (a "%" that starts none is kept); "+" as a space when `plusIsSpace`.
std::string decoded(std::string_view text, bool plusIsSpace);

// The fields of a form body, when the request builder encodes them back into exactly `body`;
// absent when it would not (a pair without "=", another spelling, a {{placeholder}} that
// the builder would fill in), so that nothing sent changes.
std::optional<std::vector<KeyValue>> rowsIfExact(std::string_view body);

}  // namespace tessaline::formEncoding
