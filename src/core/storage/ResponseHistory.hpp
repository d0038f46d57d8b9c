#pragma once

#include "core/model/StoredResponse.hpp"
#include "core/support/Clock.hpp"
#include "core/support/WatchedFile.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace tessaline {

// The recorded responses of each request, newest first, kept in "<request UUID>.json"
// files of the history folder and loaded on first use. Each file is watched, so that the
// responses another process recorded are told apart from our own and taken in before a
// list is changed and written back.
class ResponseHistory {
public:
    static constexpr std::size_t historyLimit = 25;

    explicit ResponseHistory(std::filesystem::path historyFolder, Clock now = systemClock())
        : folder(std::move(historyFolder)), clock(std::move(now)) {}

    // A missing or unreadable file gives an empty list.
    const std::vector<StoredResponse>& responses(const Uuid& requestID);
    std::optional<StoredResponse> cachedLatest(const Uuid& requestID) const;

    // Puts the response in front of its request's list (after taking in what another
    // process recorded meanwhile, also while the file was being written), keeps at most
    // historyLimit, and writes the file. When the
    // write fails, returns "Couldn't save the response history: " and the reason; the list
    // in memory keeps the response and the next record of that request writes it.
    std::optional<std::string> record(const StoredResponse& response);

    void clear(const Uuid& requestID);
    // Reads again every list that is loaded, and the files of `requestIDs`.
    void reloadAll(const std::vector<Uuid>& requestIDs);
    // Reads again each loaded list whose file changed since we last read or wrote it.
    void reloadChanged();
    // Deletes the files of requests not in `live` whose last change is older than `age`.
    void pruneOrphaned(const std::unordered_set<Uuid>& live, std::chrono::seconds age, Date now);

private:
    WatchedFile& fileFor(const Uuid& requestID);
    void take(const Uuid& requestID, const WatchedFile::Content& content);

    std::filesystem::path folder;
    Clock clock;
    std::unordered_map<Uuid, std::vector<StoredResponse>> lists;
    std::unordered_map<Uuid, WatchedFile> files;
};

}  // namespace tessaline
