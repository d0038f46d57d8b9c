#pragma once

#include "model/StoredResponse.hpp"
#include "support/FileStamp.hpp"

#include <filesystem>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace tessaline {

// The recorded responses of each request, newest first, kept in "<request UUID>.json"
// files of the history folder and loaded on first use. The stamp of each file as last read
// or written tells the responses that another process recorded apart from our own.
class ResponseHistory {
public:
    static constexpr std::size_t historyLimit = 25;

    explicit ResponseHistory(std::filesystem::path historyFolder) : folder(std::move(historyFolder)) {}

    // A missing or unreadable file gives an empty list.
    const std::vector<StoredResponse>& responses(const Uuid& requestID);
    std::optional<StoredResponse> cachedLatest(const Uuid& requestID) const;

    // Puts the response in front of its request's list, keeping at most historyLimit, and
    // returns the bytes of the request's file for write() (so that the write can happen
    // elsewhere).
    std::string record(const StoredResponse& response);
    // Failures are ignored: the list in memory stays and the next record writes it again.
    void write(const Uuid& requestID, std::string_view bytes);

    void clear(const Uuid& requestID);
    // Reads again every list that is loaded, and the files of `requestIDs`.
    void reloadAll(const std::vector<Uuid>& requestIDs);
    // Reads again each loaded list whose file changed since we last read or wrote it.
    void reloadChanged();
    // Deletes the files of requests not in `live` whose last change is older than `age`.
    void pruneOrphaned(const std::unordered_set<Uuid>& live, std::chrono::seconds age, Date now);

private:
    std::filesystem::path fileFor(const Uuid& requestID) const;
    void load(const Uuid& requestID);

    std::filesystem::path folder;
    std::unordered_map<Uuid, std::vector<StoredResponse>> lists;
    std::unordered_map<Uuid, std::optional<FileStamp>> stamps;
};

}  // namespace tessaline
