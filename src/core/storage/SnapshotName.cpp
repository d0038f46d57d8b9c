#include "core/storage/SnapshotName.hpp"

#include "core/support/PercentEncoding.hpp"
#include "core/support/Utf8.hpp"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <memory>

namespace tessaline::snapshotName {
namespace {

constexpr std::size_t reasonLimit = 60;  // user-perceived characters
constexpr std::string_view extension = ".json";
constexpr std::size_t stampLength = 20;
constexpr std::size_t fileNameLimit = 255;  // bytes, the usual NAME_MAX
constexpr std::size_t encodedReasonLimit = fileNameLimit - stampLength - 1 - extension.size();

// Stamps are written and read by hand rather than with an ICU date format: ICU's strict
// parser took about 150 µs a name, which made listing an archive slow, and this fixed-width
// form in UTC needs none of its locale machinery.
void appendPadded(std::string& out, long long value, std::size_t width) {
    const auto text = std::to_string(value);
    if (text.size() < width) out.append(width - text.size(), '0');
    out += text;
}

std::string stamp(Date date) {
    using namespace std::chrono;
    const auto sinceEpoch = floor<milliseconds>(date.time_since_epoch());
    const auto day = floor<days>(sinceEpoch);
    const year_month_day calendarDay{sys_days(day)};
    const hh_mm_ss time{sinceEpoch - day};
    std::string text;
    appendPadded(text, static_cast<int>(calendarDay.year()), 4);
    appendPadded(text, static_cast<unsigned>(calendarDay.month()), 2);
    appendPadded(text, static_cast<unsigned>(calendarDay.day()), 2);
    text += 'T';
    appendPadded(text, time.hours().count(), 2);
    appendPadded(text, time.minutes().count(), 2);
    appendPadded(text, time.seconds().count(), 2);
    text += '.';
    appendPadded(text, time.subseconds().count(), 3);
    text += 'Z';
    return text;
}

// The decimal number in text[from, from + count), if every character there is a digit.
std::optional<int> digits(std::string_view text, std::size_t from, std::size_t count) {
    int value = 0;
    for (const char digit : text.substr(from, count)) {
        if (digit < '0' || digit > '9') return std::nullopt;
        value = value * 10 + (digit - '0');
    }
    return value;
}

std::optional<Date> parseStamp(std::string_view text) {
    using namespace std::chrono;
    if (text.size() != stampLength || text[8] != 'T' || text[15] != '.' || text[19] != 'Z') return std::nullopt;
    const auto yearNumber = digits(text, 0, 4), monthNumber = digits(text, 4, 2), dayNumber = digits(text, 6, 2),
               hour = digits(text, 9, 2), minute = digits(text, 11, 2), second = digits(text, 13, 2),
               millisecond = digits(text, 16, 3);
    if (!yearNumber || !monthNumber || !dayNumber || !hour || !minute || !second || !millisecond) return std::nullopt;
    const year_month_day calendarDay{year(*yearNumber), month(static_cast<unsigned>(*monthNumber)),
                                     day(static_cast<unsigned>(*dayNumber))};
    if (!calendarDay.ok() || *hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
    const auto sinceEpoch = sys_days(calendarDay).time_since_epoch() + hours(*hour) + minutes(*minute) +
                            seconds(*second) + milliseconds(*millisecond);
    // The clock counts nanoseconds in 64 bits: about 1678 to 2262.
    constexpr auto limit = duration_cast<milliseconds>(Date::duration::max());
    if (sinceEpoch >= limit || sinceEpoch <= -limit) return std::nullopt;
    return Date(sinceEpoch);
}

// Break iterators are costly to build and not safe to share between threads: one per thread.
icu::BreakIterator* characterBreaks() {
    thread_local const std::unique_ptr<icu::BreakIterator> breaks = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return breaks.get();
}

bool staysPlain(UChar32 scalar) {
    return (U_GET_GC_MASK(scalar) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_ND_MASK)) != 0;
}

// `cluster` is valid UTF-8.
void appendEncoded(std::string& out, std::string_view cluster) {
    const auto length = static_cast<int32_t>(cluster.size());
    for (int32_t index = 0; index < length;) {
        const int32_t start = index;
        UChar32 scalar = 0;
        U8_NEXT(cluster.data(), index, length, scalar);
        const auto bytes = cluster.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(index - start));
        if (staysPlain(scalar)) {
            out += bytes;
        } else {
            out += percentEncoding::encode(bytes, "");  // only letters and digits stay, none of which is here
        }
    }
}

std::optional<std::string> encodedReason(std::string_view reason) {
    const auto text = utf8::repaired(reason);
    auto* breaks = characterBreaks();
    if (breaks == nullptr) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    icu::LocalUTextPointer utext(utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status));
    breaks->setText(utext.getAlias(), status);
    if (U_FAILURE(status)) return std::nullopt;
    std::string encoded;
    int32_t start = breaks->first();
    for (std::size_t count = 0; count < reasonLimit; ++count) {
        const int32_t end = breaks->next();
        if (end == icu::BreakIterator::DONE) break;
        std::string piece;
        appendEncoded(piece, std::string_view(text).substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
        if (encoded.size() + piece.size() > encodedReasonLimit) break;
        encoded += piece;
        start = end;
    }
    return encoded;
}

}  // namespace

std::string make(Date date, std::string_view reason) {
    return stamp(date) + "~" + encodedReason(reason).value_or(std::string(autosave)) + std::string(extension);
}

std::optional<Parsed> parse(std::string_view fileName) {
    if (!fileName.ends_with(extension)) return std::nullopt;
    const auto stem = fileName.substr(0, fileName.size() - extension.size());
    const auto separator = stem.find('~');
    const auto date = parseStamp(stem.substr(0, separator));
    if (!date) return std::nullopt;
    const auto reason = separator == std::string_view::npos ? std::string_view() : stem.substr(separator + 1);
    if (reason.empty()) return Parsed{*date, std::string(autosave)};
    const auto decoded = percentEncoding::decodeStrictly(reason);
    return Parsed{*date, decoded && utf8::isValid(*decoded) ? *decoded : utf8::repaired(reason)};
}

}  // namespace tessaline::snapshotName
