#pragma once

#include "core/support/Date.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// `date` written with a Unicode date pattern ("yyyy-MM-dd", "EEE, d MMM HH:mm") in the fixed
// "en_US_POSIX" locale and the host's time zone, read afresh on every call so that a change of
// TZ takes effect at once. Letters that are no pattern field are dropped, as the pattern syntax
// says; absent only when the formatter cannot be made at all.
std::optional<std::string> formatLocalDate(Date date, std::string_view pattern);

}  // namespace tessaline
