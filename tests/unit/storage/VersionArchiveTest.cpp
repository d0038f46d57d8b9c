#include "storage/VersionArchive.hpp"

#include "model/WorkspaceCoding.hpp"
#include "support/DecodingError.hpp"

#include <gtest/gtest.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <fstream>
#include <set>

namespace tessaline {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;
using Date = VersionArchive::Date;

// 1 March 2025, 14:22:33.045 UTC
const Date march1 = sys_days{2025y / March / 1} + 14h + 22min + 33s + 45ms;

class VersionArchiveTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        root = std::filesystem::temp_directory_path() / ("tessaline-archive-" + std::string(test->name()));
        std::filesystem::remove_all(root);
        archive = VersionArchive(root / "versions");
    }
    void TearDown() override { std::filesystem::remove_all(root); }

    std::set<std::string> fileNames() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(archive.folder()))
            names.insert(entry.path().filename().string());
        return names;
    }

    void touch(const std::string& name, const std::string& bytes = "{}") const {
        std::filesystem::create_directories(archive.folder());
        std::ofstream(archive.folder() / name) << bytes;
    }

    std::filesystem::path root;
    VersionArchive archive{""};
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

std::vector<WorkspaceVersion> versionsAt(const std::vector<Date>& dates) {
    std::vector<WorkspaceVersion> versions;
    for (const auto date : dates) versions.push_back({"v" + std::to_string(versions.size()), date, "Autosave"});
    return versions;
}

std::vector<std::string> urls(const std::vector<WorkspaceVersion>& versions) {
    std::vector<std::string> result;
    for (const auto& version : versions) result.push_back(version.url.string());
    return result;
}

TEST_F(VersionArchiveTest, FileNameEscapesEverythingButLettersMarksAndDigits) {
    const auto version = archive.save("{}", "Before deleting “Café/2 ~ x.y”", march1);
    ASSERT_TRUE(version);
    EXPECT_EQ(
        "20250301T142233.045Z~Before%20deleting%20%E2%80%9CCaf\xC3\xA9%2F2%20%7E%20x%2Ey%E2%80%9D.json",
        version->url.filename().string());
    EXPECT_EQ(march1, version->date);
    EXPECT_EQ("Before deleting “Café/2 ~ x.y”", version->reason);
}

TEST_F(VersionArchiveTest, ReasonsSurviveTheTripThroughTheFileName) {
    const std::vector<std::string> reasons{
        "Autosave", "a~b~c", "with spaces", "\"double\" and 'single' quotes", "slashes / and \\",
        "Édition élevée, naïve", "100% done", "line\r\nbreak", "Пример 例子 ٣",
    };
    auto date = march1;
    for (const auto& reason : reasons) {
        date += 1s;
        ASSERT_TRUE(archive.save(reason, reason, date)) << reason;
    }
    const auto listed = archive.list();
    ASSERT_EQ(reasons.size(), listed.size());
    for (std::size_t index = 0; index < reasons.size(); ++index) {
        EXPECT_EQ(reasons[reasons.size() - 1 - index], listed[index].reason);  // newest first
    }
}

TEST_F(VersionArchiveTest, LongReasonsAreCutToSixtyUserPerceivedCharacters) {
    const std::string accented = "e\xCC\x81";  // e + combining acute: one character, two scalars
    std::string reason;
    for (int count = 0; count < 80; ++count) reason += accented;
    std::string sixty;
    for (int count = 0; count < 60; ++count) sixty += accented;
    EXPECT_EQ(sixty, archive.save("{}", reason, march1)->reason);

    const std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
    const auto version = archive.save("[]", std::string(59, 'x') + family + "tail", march1 + 1s);
    EXPECT_EQ(std::string(59, 'x') + family, version->reason);
}

TEST_F(VersionArchiveTest, ReasonsThatWouldOverflowAFileNameAreCutShorter) {
    const std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
    std::string reason;
    for (int count = 0; count < 60; ++count) reason += family;
    const auto version = archive.save("{}", reason, march1);
    ASSERT_TRUE(version);
    EXPECT_LE(version->url.filename().string().size(), 255U);
    EXPECT_EQ(0U, version->reason.size() % family.size());
    EXPECT_FALSE(version->reason.empty());
}

TEST(VersionArchiveParseTest, NamesAndWhatTheyReadAs) {
    struct Case {
        std::string name;
        std::optional<std::string> reason;  // absent: not a snapshot
    };
    const std::vector<Case> cases{
        {"20250301T142233.045Z.json", "Autosave"},
        {"20250301T142233.045Z~.json", "Autosave"},
        {"20250301T142233.045Z~Edited%20%E2%80%9CMe%E2%80%9D.json", "Edited “Me”"},
        {"20250301T142233.045Z~100%.json", "100%"},        // a bad escape is taken as it stands
        {"20250301T142233.045Z~bad%FF.json", "bad%FF"},    // so are escapes that are not UTF-8
        {"20250301T142233.045Z~x.JSON", std::nullopt},
        {"20250301T142233.045Z~x.json.tmp-ab12", std::nullopt},
        {"20250301T142233.045~x.json", std::nullopt},
        {"20251301T142233.045Z~bad-month.json", std::nullopt},
        {"2025031T142233.045Z~short.json", std::nullopt},
        {"+2025031T142233.045Z~sign.json", std::nullopt},
        {"28250301T142233.045Z~beyond-the-clock.json", std::nullopt},
        {"notes.json", std::nullopt},
        {".json", std::nullopt},
    };
    for (const auto& [name, reason] : cases) {
        const auto version = VersionArchive::parse(std::filesystem::path("/versions") / name);
        ASSERT_EQ(reason.has_value(), version.has_value()) << name;
        if (!version) continue;
        EXPECT_EQ(*reason, version->reason) << name;
        EXPECT_EQ(march1, version->date) << name;
        EXPECT_EQ("/versions/" + name, version->url.string());
    }
}

TEST_F(VersionArchiveTest, IdenticalConsecutiveSnapshotsAreStoredOnce) {
    EXPECT_TRUE(archive.save("A", "first", march1));
    EXPECT_FALSE(archive.save("A", "second", march1 + 1s));
    EXPECT_EQ(1U, archive.list().size());

    EXPECT_TRUE(archive.save("B", "third", march1 + 2s));
    EXPECT_TRUE(archive.save("A", "fourth", march1 + 3s));
    const auto listed = archive.list();
    ASSERT_EQ(3U, listed.size());
    EXPECT_EQ("fourth", listed[0].reason);
    EXPECT_EQ("third", listed[1].reason);
    EXPECT_EQ("first", listed[2].reason);
}

TEST_F(VersionArchiveTest, ListIgnoresFilesThatAreNotSnapshots) {
    EXPECT_TRUE(archive.list().empty());  // no folder yet
    touch("notes.txt");
    touch("20250301T142233.045Z~x.txt");
    std::filesystem::create_directories(archive.folder() / "20250301T142233.045Z~folder.json");
    touch("20250301T142233.045Z~real.json");
    const auto listed = archive.list();
    ASSERT_EQ(1U, listed.size());
    EXPECT_EQ("real", listed[0].reason);
}

TEST_F(VersionArchiveTest, SaveFailsQuietly) {
    std::filesystem::create_directories(root);
    std::ofstream(root / "versions") << "a file where the folder should be";
    EXPECT_FALSE(archive.save("{}", "Autosave", march1));
}

TEST_F(VersionArchiveTest, LoadReadsTheWorkspaceAndThrowsOnDamage) {
    Workspace workspace;
    workspace.collections.push_back({.name = "Shop"});
    const auto good = archive.save(encodeWorkspace(workspace), "Autosave", march1);
    EXPECT_EQ(workspace, archive.load(*good));

    const auto damaged = archive.save("{\"version\": 1, \"collections\": [", "Autosave", march1 + 1s);
    EXPECT_THROW(archive.load(*damaged), DecodingError);

    std::filesystem::remove(good->url);
    try {
        archive.load(*good);
        FAIL() << "a missing snapshot loaded";
    } catch (const Error& error) {
        EXPECT_EQ("Could not read “" + good->url.string() + "”: No such file or directory", std::string(error.what()));
    }
}

TEST(VersionArchiveThinningTest, KeepsTheNewestOfEachDayAndAllOfTheLastDay) {
    const auto utc = calendarIn("UTC");
    const Date now = sys_days{2025y / March / 20} + 12h;
    const auto tenDaysAgo = sys_days{2025y / March / 10};
    const auto versions = versionsAt({
        now - 1h, now - 2h, now - 23h,                    // within a day: all stay
        tenDaysAgo + 9h, tenDaysAgo + 18h, tenDaysAgo + 1h,  // one day: only 18:00 stays
        tenDaysAgo + 30h,                                  // the next day
    });
    EXPECT_EQ((std::vector<std::string>{"v3", "v5"}), urls(VersionArchive::expired(versions, now, *utc)));
}

TEST(VersionArchiveThinningTest, KeepsTheNewestOfEachIsoWeekPastThirtyDays) {
    const auto utc = calendarIn("UTC");
    const Date now = sys_days{2025y / March / 20} + 12h;
    // Monday 3 February to Sunday 9 February 2025 is ISO week 6.
    const auto versions = versionsAt({
        sys_days{2025y / February / 3} + 8h,
        sys_days{2025y / February / 9} + 20h,   // newest of week 6
        sys_days{2025y / February / 10} + 1h,   // week 7
        sys_days{2025y / February / 5} + 12h,
        sys_days{2025y / February / 2} + 23h,   // Sunday: week 5
    });
    EXPECT_EQ((std::vector<std::string>{"v3", "v0"}), urls(VersionArchive::expired(versions, now, *utc)));
}

TEST(VersionArchiveThinningTest, DaysAreTheCalendarsNotTheStamps) {
    const auto utc = calendarIn("UTC");
    const auto tokyo = calendarIn("Asia/Tokyo");  // UTC+9 all year
    const Date now = sys_days{2025y / March / 20} + 12h;
    // 23:30 and 00:30 UTC: different stamp dates, one Tokyo morning.
    const auto acrossUTCMidnight = versionsAt({sys_days{2025y / March / 10} + 23h + 30min,
                                               sys_days{2025y / March / 11} + 30min});
    EXPECT_EQ((std::vector<std::string>{"v0"}), urls(VersionArchive::expired(acrossUTCMidnight, now, *tokyo)));
    EXPECT_TRUE(VersionArchive::expired(acrossUTCMidnight, now, *utc).empty());
    // 14:30 and 15:30 UTC: one stamp date, either side of Tokyo's midnight.
    const auto acrossTokyoMidnight = versionsAt({sys_days{2025y / March / 10} + 14h + 30min,
                                                 sys_days{2025y / March / 10} + 15h + 30min});
    EXPECT_TRUE(VersionArchive::expired(acrossTokyoMidnight, now, *tokyo).empty());
    EXPECT_EQ((std::vector<std::string>{"v0"}), urls(VersionArchive::expired(acrossTokyoMidnight, now, *utc)));
}

TEST_F(VersionArchiveTest, PruneDeletesOnlyExpiredSnapshots) {
    const auto utc = calendarIn("UTC");
    const Date now = sys_days{2025y / March / 20} + 12h;
    const auto tenDaysAgo = sys_days{2025y / March / 10};
    archive.save("1", "early", tenDaysAgo + 8h);
    archive.save("2", "noon", tenDaysAgo + 12h);
    archive.save("3", "evening", tenDaysAgo + 20h);
    archive.save("4", "an hour ago", now - 1h);
    touch("notes.txt");
    touch("20250101T000000.000Z~old.txt");
    touch("garbage.json");

    archive.prune(now, *utc);
    EXPECT_EQ((std::set<std::string>{"20250310T200000.000Z~evening.json", "20250320T110000.000Z~an%20hour%20ago.json",
                                     "notes.txt", "20250101T000000.000Z~old.txt", "garbage.json"}),
              fileNames());
}

}  // namespace
}  // namespace tessaline
