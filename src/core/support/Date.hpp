#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// A point in time, with the system clock's resolution (nanoseconds on Linux).
using Date = std::chrono::system_clock::time_point;

// ISO 8601 in UTC without fraction, "2026-01-01T00:00:00Z": the form of dates in every
// persisted file. Sub-second parts are cut off, so a date read back may be earlier than the
// one written by less than a second.
std::string iso8601(Date date);

// Reads "YYYY-MM-DDTHH:MM:SS", optionally with a fraction of any length (kept to the
// nanosecond), then "Z" or an offset "+HH:MM", "+HHMM" or "+HH".
std::optional<Date> parseISO8601(std::string_view text);

}  // namespace tessaline
