#pragma once

#include "core/model/Workspace.hpp"
#include "core/storage/WorkspaceVersion.hpp"

#include <unicode/calendar.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace tessaline {

// The snapshots of the workspace kept in one folder ("versions" inside the workspace
// folder), one file per snapshot named by core/storage/SnapshotName.hpp. The archive names,
// writes, lists, reads and thins snapshots; when to take one is the store's business.
// Files in the folder that are not snapshots are ignored and never deleted.
//
// Dates are always passed in, so that the caller's clock (or a test's) decides.
class VersionArchive {
public:
    using Date = std::chrono::system_clock::time_point;

    // How many of the most recent versions a version list offers.
    static constexpr std::size_t recentLimit = 100;

    explicit VersionArchive(std::filesystem::path folder) : folderPath(std::move(folder)) {}

    const std::filesystem::path& folder() const { return folderPath; }

    // Writes `data` atomically as a snapshot, creating the folder when needed. Writes nothing
    // when the newest snapshot holds exactly these bytes. Absent when nothing was written,
    // for that reason or because the write failed; never throws. The result reads back the
    // way list() would show it (date in whole milliseconds, reason cut to its file name).
    std::optional<WorkspaceVersion> save(std::string_view data, std::string_view reason, Date date) const;

    // Every snapshot, newest first; empty when the folder is missing or unreadable.
    std::vector<WorkspaceVersion> list() const;

    // Throws DecodingError for a damaged snapshot, FileError for an unreadable one.
    Workspace load(const WorkspaceVersion& version) const;

    // The snapshot a file stands for, if its name is a snapshot's.
    static std::optional<WorkspaceVersion> parse(const std::filesystem::path& url);

    // The versions that thinning discards, newest first. By age (now − date): under one day
    // every version stays; under 30 days only the newest of each calendar day; older than
    // that only the newest of each calendar week (year-for-week-of-year and week-of-year).
    // Days and weeks are those of `calendar`, whose time zone and week rules count; dates in
    // the future always stay.
    static std::vector<WorkspaceVersion> expired(std::vector<WorkspaceVersion> versions, Date now,
                                                 const icu::Calendar& calendar);
    // The same with the current calendar: the default time zone and locale, with ISO 8601
    // weeks (starting on Monday; week 1 holds the year's first Thursday).
    static std::vector<WorkspaceVersion> expired(std::vector<WorkspaceVersion> versions, Date now);

    // Deletes the files of the expired versions; a deletion that fails is skipped.
    void prune(Date now) const;
    void prune(Date now, const icu::Calendar& calendar) const;

private:
    bool newestHolds(std::string_view data) const;

    std::filesystem::path folderPath;
};

}  // namespace tessaline
