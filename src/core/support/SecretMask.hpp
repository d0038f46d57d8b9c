#pragma once

#include <string_view>

namespace tessaline {

// What is shown, or kept, in place of a secret that must not be read there: a password, a
// client secret, a token.
inline constexpr std::string_view secretMask = "\u2022\u2022\u2022\u2022\u2022\u2022";

}  // namespace tessaline
