#include "storage/VersionArchive.hpp"

#include "model/WorkspaceCoding.hpp"
#include "storage/SnapshotName.hpp"
#include "support/Error.hpp"
#include "support/Files.hpp"

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

// Reads calendar fields of one date; the calendar is the caller's own copy.
class CalendarFields {
public:
    CalendarFields(icu::Calendar& calendar, VersionArchive::Date date) : calendar_(calendar) {
        const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch()).count();
        calendar_.setTime(static_cast<UDate>(milliseconds), status_);
    }

    std::string key(std::initializer_list<UCalendarDateFields> fields) {
        std::string text;
        for (const auto field : fields) text += std::to_string(calendar_.get(field, status_)) + "-";
        return text;
    }

private:
    icu::Calendar& calendar_;
    UErrorCode status_ = U_ZERO_ERROR;
};

// The text of the bucket the version is thinned in, or nothing when it is young enough to stay.
std::optional<std::string> bucketKey(icu::Calendar& calendar, VersionArchive::Date date, VersionArchive::Date now) {
    const auto age = now - date;
    if (age < day) return std::nullopt;
    CalendarFields fields(calendar, date);
    if (age < month) return "day " + fields.key({UCAL_YEAR, UCAL_MONTH, UCAL_DATE});
    return "week " + fields.key({UCAL_YEAR_WOY, UCAL_WEEK_OF_YEAR});
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
    try {
        const auto versions = list();
        if (!versions.empty() && files::read(versions.front().url) == data) return std::nullopt;
        std::error_code ignored;
        std::filesystem::create_directories(folderURL_, ignored);
        const auto url = folderURL_ / snapshotName::make(date, reason);
        files::writeAtomically(url, data);
        return parse(url);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::vector<WorkspaceVersion> VersionArchive::list() const {
    std::vector<WorkspaceVersion> versions;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folderURL_, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code notAFile;
        if (!entry->is_regular_file(notAFile)) continue;
        if (auto version = parse(entry->path())) versions.push_back(std::move(*version));
    }
    sortNewestFirst(versions);
    return versions;
}

Workspace VersionArchive::load(const WorkspaceVersion& version) const {
    const auto bytes = files::read(version.url);
    if (!bytes) throw Error("Couldn't read the version “" + version.url.filename().string() + "”.");
    return decodeWorkspace(*bytes);
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
