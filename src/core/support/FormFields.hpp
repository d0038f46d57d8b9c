#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Name and value pairs in the "name=value&name=value" form of form bodies, query strings and
// form-encoded responses.
namespace tessaline::formFields {

using Fields = std::vector<std::pair<std::string, std::string>>;

// Names and values percent-encoded, keeping only ASCII letters, digits and "-", ".", "_" and
// "*" (a blank becomes "%20"), joined as name=value with "&".
std::string encoded(const Fields& fields);

// Split at "&", each piece at its first "=" (a piece without one is a name with an empty
// value), names and values percent-decoded with "+" kept; empty pieces are skipped.
Fields decoded(std::string_view text);

}  // namespace tessaline::formFields
