#pragma once

#include <string>
#include <string_view>

namespace tessaline {

// The text between typographic double quotes (U+201C and U+201D), as messages and version
// reasons show a name.
std::string curlyQuoted(std::string_view text);

}  // namespace tessaline
