#include "core/support/Date.hpp"

namespace tessaline {
namespace {

using namespace std::chrono;

// Reads exactly `count` decimal digits at `position`, advancing past them.
std::optional<int> digits(std::string_view text, std::size_t& position, std::size_t count) {
    if (position + count > text.size()) return std::nullopt;
    int value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const char c = text[position + i];
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + (c - '0');
    }
    position += count;
    return value;
}

bool expect(std::string_view text, std::size_t& position, char expected) {
    if (position >= text.size() || text[position] != expected) return false;
    ++position;
    return true;
}

// The fraction after a ".", as nanoseconds; digits past the ninth are read and dropped.
std::optional<nanoseconds> fraction(std::string_view text, std::size_t& position) {
    const std::size_t start = position;
    std::int64_t value = 0;
    for (; position < text.size() && text[position] >= '0' && text[position] <= '9'; ++position) {
        if (position - start < 9) value = value * 10 + (text[position] - '0');
    }
    const auto count = position - start;
    if (count == 0) return std::nullopt;
    for (auto i = count; i < 9; ++i) value *= 10;
    return nanoseconds(value);
}

// The offset of local time from UTC: "Z", "+HH:MM", "+HHMM" or "+HH" (or "-").
std::optional<minutes> offset(std::string_view text, std::size_t& position) {
    if (expect(text, position, 'Z')) return minutes(0);
    if (position >= text.size() || (text[position] != '+' && text[position] != '-')) return std::nullopt;
    const int sign = text[position++] == '-' ? -1 : 1;
    const auto hours = digits(text, position, 2);
    if (!hours || *hours > 23) return std::nullopt;
    int mins = 0;
    if (position < text.size()) {
        expect(text, position, ':');
        const auto parsed = digits(text, position, 2);
        if (!parsed || *parsed > 59) return std::nullopt;
        mins = *parsed;
    }
    return minutes(sign * (*hours * 60 + mins));
}

// The last `count` decimal digits of `value`, zero-padded. A Date counts nanoseconds in 64
// bits, so its years run from 1677 to 2262: four digits always do. (printf's machinery, which
// this replaces, was a good part of what a response summary cost.)
void appendDigits(std::string& text, unsigned value, std::size_t count) {
    char digits[4];
    for (std::size_t i = count; i-- > 0; value /= 10) digits[i] = static_cast<char>('0' + value % 10);
    text.append(digits, count);
}

}  // namespace

std::string iso8601(Date date) {
    const auto whole = floor<seconds>(date);
    const auto midnight = floor<days>(whole);
    const year_month_day ymd{midnight};
    const hh_mm_ss time{whole - midnight};
    std::string text;
    text.reserve(20);
    appendDigits(text, static_cast<unsigned>(static_cast<int>(ymd.year())), 4);
    text += '-', appendDigits(text, static_cast<unsigned>(ymd.month()), 2);
    text += '-', appendDigits(text, static_cast<unsigned>(ymd.day()), 2);
    text += 'T', appendDigits(text, static_cast<unsigned>(time.hours().count()), 2);
    text += ':', appendDigits(text, static_cast<unsigned>(time.minutes().count()), 2);
    text += ':', appendDigits(text, static_cast<unsigned>(time.seconds().count()), 2);
    text += 'Z';
    return text;
}

std::optional<Date> parseISO8601(std::string_view text) {
    std::size_t position = 0;
    const auto y = digits(text, position, 4);
    if (!y || !expect(text, position, '-')) return std::nullopt;
    const auto mo = digits(text, position, 2);
    if (!mo || !expect(text, position, '-')) return std::nullopt;
    const auto d = digits(text, position, 2);
    if (!d || !expect(text, position, 'T')) return std::nullopt;
    const auto h = digits(text, position, 2);
    if (!h || !expect(text, position, ':')) return std::nullopt;
    const auto mi = digits(text, position, 2);
    if (!mi || !expect(text, position, ':')) return std::nullopt;
    const auto s = digits(text, position, 2);
    if (!s) return std::nullopt;
    nanoseconds sub{0};
    if (expect(text, position, '.')) {
        const auto parsed = fraction(text, position);
        if (!parsed) return std::nullopt;
        sub = *parsed;
    }
    const auto zone = offset(text, position);
    if (!zone || position != text.size()) return std::nullopt;

    const year_month_day ymd{year(*y), month(static_cast<unsigned>(*mo)), day(static_cast<unsigned>(*d))};
    if (!ymd.ok() || *h > 23 || *mi > 59 || *s > 59) return std::nullopt;
    // Date counts nanoseconds in 64 bits: from 1677-09-21 to 2262-04-11. Whole years inside.
    if (*y < 1678 || *y > 2261) return std::nullopt;
    const auto local = sys_days(ymd) + hours(*h) + minutes(*mi) + seconds(*s) + sub;
    return time_point_cast<Date::duration>(local - *zone);
}

}  // namespace tessaline
