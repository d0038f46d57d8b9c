#include "core/storage/VersionArchive.hpp"

#include "TemporaryFolder.hpp"
#include "ThrownText.hpp"
#include "core/model/WorkspaceCoding.hpp"

#include <gtest/gtest.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <fstream>

namespace tessaline {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;
using Date = VersionArchive::Date;

// 1 March 2025, 14:22:33.045 UTC
const Date march1 = sys_days{2025y / March / 1} + 14h + 22min + 33s + 45ms;

class VersionArchiveTest : public ::testing::Test {
protected:
    void touch(const std::string& name) const {
        std::filesystem::create_directories(archive.folder());
        std::ofstream(archive.folder() / name) << "{}";
    }
    std::vector<std::string> reasons() const {
        std::vector<std::string> result;
        for (const auto& version : archive.list()) result.push_back(version.reason);
        return result;
    }

    TemporaryFolder folder{"tessaline-archive"};
    VersionArchive archive{folder / "versions"};
};

// A calendar of the given zone with ISO 8601 weeks.
std::unique_ptr<icu::Calendar> calendarIn(const char* zone) {
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(icu::TimeZone::createTimeZone(zone), status);
    calendar->setFirstDayOfWeek(UCAL_MONDAY);
    calendar->setMinimalDaysInFirstWeek(4);
    EXPECT_TRUE(U_SUCCESS(status));
    return calendar;
}

// The name escapes everything but letters, marks and digits; reasons are cut to sixty
// user-perceived characters, never inside one.
TEST_F(VersionArchiveTest, SaveNamesTheFileAfterTheDateAndTheReason) {
    EXPECT_EQ((WorkspaceVersion{archive.folder() / "20250301T142233.045Z~Before%20deleting%20%E2%80%9CCaf\xC3\xA9%2F2"
                                                   "%20%7E%20x%2Ey%E2%80%9D.json",
                                march1, "Before deleting “Café/2 ~ x.y”"}),
              archive.save("{}", "Before deleting “Café/2 ~ x.y”", march1));
    std::string sixty;
    for (int count = 0; count < 60; ++count) sixty += "e\xCC\x81";  // e + combining acute: one character
    EXPECT_EQ(sixty, archive.save("[]", sixty + "e\xCC\x81", march1 + 1s)->reason);
    const std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
    EXPECT_EQ(std::string(59, 'x') + family, archive.save("[1]", std::string(59, 'x') + family + "tail", march1 + 2s)->reason);
}

TEST(VersionArchiveParseTest, NamesAndWhatTheyReadAs) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases{
        {"20250301T142233.045Z.json", "Autosave"},
        {"20250301T142233.045Z~Edited%20%E2%80%9CMe%E2%80%9D.json", "Edited “Me”"},
        {"20250301T142233.045Z~100%.json", "100%"},      // a bad escape is taken as it stands
        {"20250301T142233.045Z~bad%FF.json", "bad%FF"},  // so are escapes that are not UTF-8
        {"20250301T142233.045Z~x.JSON", std::nullopt},
        {"20251301T142233.045Z~bad-month.json", std::nullopt},
        {"28250301T142233.045Z~beyond-the-clock.json", std::nullopt},
    };
    for (const auto& [name, reason] : cases) {
        const auto url = std::filesystem::path("/versions") / name;
        const auto expected = reason ? std::optional(WorkspaceVersion{url, march1, *reason}) : std::nullopt;
        EXPECT_EQ(expected, VersionArchive::parse(url)) << name;
    }
}

TEST_F(VersionArchiveTest, ListsLoadsAndStoresARepeatOnce) {
    EXPECT_TRUE(archive.list().empty());  // no folder yet
    const Workspace workspace{.collections = {{.name = "Shop"}}};
    const auto first = archive.save(encodeWorkspace(workspace), "first", march1);
    EXPECT_FALSE(archive.save(encodeWorkspace(workspace), "second", march1 + 1s));
    const auto damaged = archive.save("{\"version\": 1, \"collections\": [", "third", march1 + 2s);
    EXPECT_TRUE(archive.save(encodeWorkspace(workspace), "fourth", march1 + 3s));
    touch("20250301T142233.045Z~x.txt");
    std::filesystem::create_directories(archive.folder() / "20250301T142233.045Z~folder.json");
    EXPECT_EQ((std::vector<std::string>{"fourth", "third", "first"}), reasons());

    EXPECT_EQ(workspace, archive.load(*first));
    EXPECT_EQ("The data is not valid JSON (error at offset 31).", thrownText([&] { archive.load(*damaged); }));
    std::filesystem::remove(first->url);
    EXPECT_EQ("Could not read “" + first->url.string() + "”: No such file or directory",
              thrownText([&] { archive.load(*first); }));
    std::ofstream(folder / "file") << "a file where the folder should be";
    EXPECT_FALSE(VersionArchive(folder / "file" / "versions").save("{}", "Autosave", march1));
}

// Under a day every snapshot stays; under thirty days the newest of each calendar day; past
// that the newest of each ISO week. Days are the calendar's, not the stamps'.
TEST(VersionArchiveThinningTest, KeepsTheNewestOfEachDayThenOfEachWeek) {
    const Date now = sys_days{2025y / March / 20} + 12h;
    const auto march10 = sys_days{2025y / March / 10};
    struct Case {
        std::string name;
        const char* zone;
        std::vector<Date> dates;
        std::vector<std::string> expired;
    };
    const std::vector<Case> cases{
        {"within a day", "UTC", {now - 1h, now - 2h, now - 23h}, {}},
        {"one day", "UTC", {march10 + 9h, march10 + 18h, march10 + 1h, march10 + 30h}, {"v0", "v2"}},
        {"the week of Monday 3 February",
         "UTC",
         {sys_days{2025y / February / 3} + 8h, sys_days{2025y / February / 9} + 20h, sys_days{2025y / February / 10} + 1h,
          sys_days{2025y / February / 5} + 12h, sys_days{2025y / February / 2} + 23h},
         {"v3", "v0"}},
        {"across UTC midnight in UTC", "UTC", {march10 - 30min, march10 + 30min}, {}},
        {"across UTC midnight in Tokyo", "Asia/Tokyo", {march10 - 30min, march10 + 30min}, {"v0"}},
        {"across Tokyo midnight in UTC", "UTC", {march10 + 14h + 30min, march10 + 15h + 30min}, {"v0"}},
        {"across Tokyo midnight in Tokyo", "Asia/Tokyo", {march10 + 14h + 30min, march10 + 15h + 30min}, {}},
    };
    for (const auto& c : cases) {
        std::vector<WorkspaceVersion> versions;
        for (const auto date : c.dates) versions.push_back({"v" + std::to_string(versions.size()), date, "Autosave"});
        std::vector<std::string> expired;
        for (const auto& version : VersionArchive::expired(versions, now, *calendarIn(c.zone)))
            expired.push_back(version.url.string());
        EXPECT_EQ(c.expired, expired) << c.name;
    }
}

}  // namespace
}  // namespace tessaline
