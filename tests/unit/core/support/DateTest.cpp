#include "core/support/Clock.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using namespace std::chrono;

Date utc(int y, unsigned mo, unsigned d, int h, int mi, int s) {
    return sys_days(year(y) / month(mo) / day(d)) + hours(h) + minutes(mi) + seconds(s);
}

// Whole seconds: the fraction is dropped, before 1970 too, so a written date reads back as
// the second it was in.
TEST(DateTest, FormatsUTCInWholeSeconds) {
    EXPECT_EQ("1999-12-31T23:59:59Z", iso8601(utc(1999, 12, 31, 23, 59, 59) + milliseconds(999)));
    EXPECT_EQ("1970-01-01T00:00:00Z", iso8601(Date{}));
    EXPECT_EQ("1969-12-31T23:59:59Z", iso8601(Date{} - milliseconds(1)));
    EXPECT_EQ(utc(2031, 7, 4, 8, 9, 10), parseISO8601(iso8601(utc(2031, 7, 4, 8, 9, 10) + milliseconds(250))));
    // The ends of what a Date holds, each field with its leading zeros.
    EXPECT_EQ("1677-09-21T00:12:43Z", iso8601(Date::min()));
    EXPECT_EQ("2262-04-11T23:47:16Z", iso8601(Date::max()));
}

TEST(DateTest, ParsesFractionsAndOffsets) {
    const auto noon = utc(2024, 2, 29, 12, 0, 0);
    const std::pair<const char*, Date> cases[] = {
        {"2024-02-29T12:00:00Z", noon},
        {"2024-02-29T12:00:00.5Z", noon + milliseconds(500)},
        {"2024-02-29T12:00:00.123456789Z", noon + nanoseconds(123456789)},
        {"2024-02-29T12:00:00.1234567891Z", noon + nanoseconds(123456789)},
        {"2024-02-29T14:00:00+02:00", noon},
        {"2024-02-29T07:30:00-0430", noon},
        {"2024-02-29T13:00:00+01", noon},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(expected, parseISO8601(text)) << text;
}

TEST(DateTest, RejectsMalformedDates) {
    for (const char* text : {"", "2024-02-29", "2024-02-29T12:00:00", "2024-02-30T12:00:00Z", "2023-02-29T12:00:00Z",
                             "2024-13-01T12:00:00Z", "2024-02-29T24:00:00Z", "2024-02-29T12:60:00Z",
                             "2024-02-29 12:00:00Z", "2024-02-29T12:00:00.Z", "2024-02-29T12:00:00Zx",
                             "2024-02-29T12:00:00+2:00", "24-02-29T12:00:00Z", "1013-01-01T00:00:00Z",
                             "9999-12-31T23:59:59Z"}) {
        EXPECT_FALSE(parseISO8601(text)) << text;
    }
}

}  // namespace
}  // namespace tessaline
