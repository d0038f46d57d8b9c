#pragma once

#include <string_view>

namespace tessaline {

// The text without the white space and line breaks at either end, by Unicode's White_Space
// property (blank, tab, CR, LF, no-break space, ideographic space, line separator, ...).
// Ill-formed UTF-8 counts as no white space.
std::string_view trimmed(std::string_view text);

}  // namespace tessaline
