#pragma once

#include "core/model/KeyValue.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// application/x-www-form-urlencoded text as curl writes it and as requests hold it.
namespace tessaline::formEncoding {

// How curl's --data-urlencode writes one: letters, digits and - . _ ~ kept, a space as "+",
// every other byte as %XX.
std::string curlEscaped(std::string_view text);

// The fields of a form text (formFields::decoded, "+" read as a blank) as enabled rows.
std::vector<KeyValue> rows(std::string_view text);

// The fields of a form body, when the request builder encodes them back into exactly `body`;
// absent when it would not (a pair without "=", another spelling, a {{placeholder}} that
// the builder would fill in), so that nothing sent changes.
std::optional<std::vector<KeyValue>> rowsIfExact(std::string_view body);

}  // namespace tessaline::formEncoding
