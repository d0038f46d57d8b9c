#pragma once

#include "core/model/StoredResponse.hpp"
#include "core/support/Clock.hpp"
#include "core/support/WatchedFile.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>
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

    // Puts the response in front of its request's list (after taking in what another
    // process recorded meanwhile, also while the file was being written), keeps at most
    // historyLimit, and writes the file, then the lists whose writes failed before. When its
    // own write fails, returns "Couldn't save the response history: " and the reason; the
    // response stays in the list, also through what another process writes meanwhile, until
    // a write of its file succeeds.
    std::optional<std::string> record(const StoredResponse& response);
    // Writes the lists whose writes failed; those that fail again wait for the next try.
    void writeUnwritten();

    // Reads again every list that is loaded, and the files of `requestIDs`.
    void reloadAll(const std::vector<Uuid>& requestIDs);
    // Reads again each loaded list whose file changed since we last read or wrote it.
    void reloadChanged();

private:
    WatchedFile& fileFor(const Uuid& requestID);
    // Makes the file's content the request's list, with its unwritten responses on top.
    void take(const Uuid& requestID, const WatchedFile::Content& content);
    // Writes the request's list, keeping what another process wrote at the last moment too.
    // Throws FileError.
    void write(const Uuid& requestID);

    std::filesystem::path folder;
    Clock clock;
    std::unordered_map<Uuid, std::vector<StoredResponse>> lists;
    // Responses recorded in a list whose file could not be written since, newest first.
    std::unordered_map<Uuid, std::vector<StoredResponse>> unwritten;
    std::unordered_map<Uuid, WatchedFile> files;
};

}  // namespace tessaline
