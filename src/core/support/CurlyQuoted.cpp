#include "core/support/CurlyQuoted.hpp"

namespace tessaline {

std::string curlyQuoted(std::string_view text) { return std::string("\u201C").append(text).append("\u201D"); }

}  // namespace tessaline
