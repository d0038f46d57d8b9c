#include "core/storage/VersionArchive.hpp"

#include "core/model/WorkspaceCoding.hpp"
#include "core/storage/SnapshotName.hpp"
#include "core/support/AtomicFile.hpp"
#include "core/support/Error.hpp"

#include <algorithm>
#include <memory>
#include <string>
#include <system_error>
#include <unordered_set>

namespace tessaline {
namespace {

constexpr std::chrono::seconds day{86'400};
constexpr std::chrono::seconds month{2'592'000};

void sortNewestFirst(std::vector<WorkspaceVersion>& versions) {
    // Equal dates are ordered by name, so that a listing never depends on the directory.
    std::sort(versions.begin(), versions.end(), [](const WorkspaceVersion& left, const WorkspaceVersion& right) {
        if (left.date != right.date) return left.date > right.date;
        return left.url.filename() > right.url.filename();
    });
}

// The text of the bucket the version is thinned in, or nothing when it is young enough to
// stay. `calendar` is the caller's own copy, moved to the version's date.
std::optional<std::string> bucketKey(icu::Calendar& calendar, VersionArchive::Date date, VersionArchive::Date now) {
    const auto age = now - date;
    if (age < day) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(static_cast<UDate>(std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch()).count()),
                     status);
    const auto field = [&](UCalendarDateFields name) { return std::to_string(calendar.get(name, status)); };
    if (age < month) return "day " + field(UCAL_YEAR) + "-" + field(UCAL_MONTH) + "-" + field(UCAL_DATE);
    return "week " + field(UCAL_YEAR_WOY) + "-" + field(UCAL_WEEK_OF_YEAR);
}

std::unique_ptr<icu::Calendar> currentCalendar() {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status)) throw Error(std::string("Couldn't set up the calendar: ") + u_errorName(status));
    calendar->setFirstDayOfWeek(UCAL_MONDAY);
    calendar->setMinimalDaysInFirstWeek(4);
    return calendar;
}

}  // namespace

std::optional<WorkspaceVersion> VersionArchive::save(std::string_view data, std::string_view reason, Date date) const {
    if (newestHolds(data)) return std::nullopt;
    try {
        atomicFile::createFolders(folderPath);
        const auto url = folderPath / snapshotName::make(date, reason);
        atomicFile::write(url, data);
        return parse(url);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::vector<WorkspaceVersion> VersionArchive::list() const {
    std::vector<WorkspaceVersion> versions;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folderPath, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code notAFile;
        if (!entry->is_regular_file(notAFile)) continue;
        if (auto version = parse(entry->path())) versions.push_back(std::move(*version));
    }
    sortNewestFirst(versions);
    return versions;
}

// A newest snapshot that cannot be read holds nothing: the save goes ahead.
bool VersionArchive::newestHolds(std::string_view data) const {
    const auto versions = list();
    try {
        return !versions.empty() && atomicFile::read(versions.front().url) == data;
    } catch (const Error&) {
        return false;
    }
}

Workspace VersionArchive::load(const WorkspaceVersion& version) const {
    return decodeWorkspace(atomicFile::read(version.url));
}

std::optional<WorkspaceVersion> VersionArchive::parse(const std::filesystem::path& url) {
    auto parsed = snapshotName::parse(url.filename().string());
    if (!parsed) return std::nullopt;
    return WorkspaceVersion{url, parsed->date, std::move(parsed->reason)};
}

std::vector<WorkspaceVersion> VersionArchive::expired(std::vector<WorkspaceVersion> versions, Date now,
                                                      const icu::Calendar& calendar) {
    const std::unique_ptr<icu::Calendar> copy(calendar.clone());
    sortNewestFirst(versions);
    std::unordered_set<std::string> buckets;
    std::vector<WorkspaceVersion> discarded;
    for (auto& version : versions) {
        const auto key = bucketKey(*copy, version.date, now);
        if (key && !buckets.insert(*key).second) discarded.push_back(std::move(version));
    }
    return discarded;
}

std::vector<WorkspaceVersion> VersionArchive::expired(std::vector<WorkspaceVersion> versions, Date now) {
    return expired(std::move(versions), now, *currentCalendar());
}

void VersionArchive::prune(Date now) const {
    prune(now, *currentCalendar());
}

void VersionArchive::prune(Date now, const icu::Calendar& calendar) const {
    for (const auto& version : expired(list(), now, calendar)) {
        std::error_code ignored;
        std::filesystem::remove(version.url, ignored);
    }
}

}  // namespace tessaline
