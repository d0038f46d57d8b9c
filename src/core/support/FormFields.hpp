#pragma once

#include "core/support/PercentEncoding.hpp"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Name and value pairs in the "name=value&name=value" form of form bodies, query strings and
// form-encoded responses.
namespace tessaline::formFields {

using Fields = std::vector<std::pair<std::string, std::string>>;
using percentEncoding::Blank;

// What form encoding keeps besides ASCII letters and digits.
inline constexpr std::string_view formPunctuation = "-._*";

// Names and values percent-encoded (percentEncoding::encode with `kept` and `blank`), joined
// as name=value with "&". A form body spells a blank "+"; OAuth 2 requests spell it "%20".
std::string encoded(const Fields& fields, Blank blank, std::string_view kept = formPunctuation);

// Split at "&", each piece at its first "=" (a piece without one is a name with an empty
// value), names and values percent-decoded, "+" read as `blank` says; empty pieces are
// skipped.
Fields decoded(std::string_view text, Blank blank);

}  // namespace tessaline::formFields
