#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The "name=value&name=value" form of HTML forms, query strings and form-encoded responses.
namespace tessaline::formEncoding {

using Fields = std::vector<std::pair<std::string, std::string>>;

// Every byte except ASCII letters, digits, "-", ".", "_" and "*" as "%XX" with upper-case
// digits; a blank becomes "%20".
std::string percentEncoded(std::string_view text);

// "%XX" sequences turned back into bytes; anything else, "+" included, is kept. Text with a
// "%" that does not begin such a sequence is returned as it is.
std::string percentDecoded(std::string_view text);

// Each pair as percentEncoded(name) + "=" + percentEncoded(value), joined with "&".
std::string encoded(const Fields& fields);

// Split at "&", each piece at its first "=" (a piece without one is a name with an empty
// value), names and values percent-decoded; empty pieces are skipped.
Fields decoded(std::string_view text);

}  // namespace tessaline::formEncoding
