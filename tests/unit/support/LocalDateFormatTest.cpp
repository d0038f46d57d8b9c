#include "support/LocalDateFormat.hpp"

#include "support/ScopedEnvironment.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

// 2024-05-01T12:30:45.250Z, a Wednesday.
const Date instant = std::chrono::sys_days{std::chrono::year{2024} / 5 / 1} + std::chrono::hours{12} +
                     std::chrono::minutes{30} + std::chrono::seconds{45} + std::chrono::milliseconds{250};

TEST(LocalDateFormatTest, PatternsInTheHostTimeZone) {
    const struct {
        const char* zone;
        const char* pattern;
        const char* text;
    } cases[] = {
        {"UTC", "yyyy-MM-dd", "2024-05-01"},
        {"UTC", "HH:mm:ss.SSS", "12:30:45.250"},
        {"Asia/Tokyo", "yyyy-MM-dd HH:mm", "2024-05-01 21:30"},
        {"America/Los_Angeles", "yyyy-MM-dd HH:mm zzz", "2024-05-01 05:30 PDT"},
        {"Pacific/Kiritimati", "EEEE d MMMM", "Thursday 2 May"},  // UTC+14: already tomorrow
        {"UTC", "'at' h a", "at 12 PM"},
        {"UTC", "", ""},
    };
    for (const auto& c : cases) {
        const ScopedEnvironment zone("TZ", c.zone);
        EXPECT_EQ(c.text, formatLocalDate(instant, c.pattern)) << c.zone << " " << c.pattern;
    }
}

}  // namespace
}  // namespace tessaline
