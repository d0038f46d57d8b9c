#include "core/support/LocalDateFormat.hpp"

#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

namespace tessaline {

std::optional<std::string> formatLocalDate(Date date, std::string_view pattern) {
    UErrorCode status = U_ZERO_ERROR;
    const auto unicodePattern =
        icu::UnicodeString::fromUTF8(icu::StringPiece(pattern.data(), static_cast<std::int32_t>(pattern.size())));
    icu::SimpleDateFormat formatter(unicodePattern, icu::Locale("en_US_POSIX"), status);
    if (U_FAILURE(status)) return std::nullopt;
    formatter.adoptTimeZone(icu::TimeZone::detectHostTimeZone());
    // Floored, not converted through a double: nanoseconds since 1970 exceed its precision.
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch());
    icu::UnicodeString text;
    formatter.format(static_cast<UDate>(milliseconds.count()), text);
    std::string result;
    return text.toUTF8String(result);
}

}  // namespace tessaline
