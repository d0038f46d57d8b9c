#include "core/storage/ResponseHistory.hpp"

#include "core/support/AtomicFile.hpp"

#include <algorithm>
#include <system_error>

namespace tessaline {

namespace {

// `theirs` with the responses of `mine` that it lacks, newest first, at most historyLimit.
std::vector<StoredResponse> merged(std::vector<StoredResponse> theirs, const std::vector<StoredResponse>& mine) {
    std::vector<StoredResponse> result = mine;
    for (auto& response : theirs) {
        const auto same = [&](const StoredResponse& other) { return other.id == response.id; };
        if (std::none_of(mine.begin(), mine.end(), same)) result.push_back(std::move(response));
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const StoredResponse& a, const StoredResponse& b) { return a.sentAt > b.sentAt; });
    if (result.size() > ResponseHistory::historyLimit) result.resize(ResponseHistory::historyLimit);
    return result;
}

}  // namespace

WatchedFile& ResponseHistory::fileFor(const Uuid& requestID) {
    auto found = files.find(requestID);
    if (found == files.end()) found = files.try_emplace(requestID, folder / (requestID.text() + ".json"), clock).first;
    return found->second;
}

void ResponseHistory::take(const Uuid& requestID, const WatchedFile::Content& content) {
    std::vector<StoredResponse> theirs;
    try {
        if (content.bytes) theirs = decodeHistory(*content.bytes);
    } catch (const Error&) {
        // A damaged history (or one from a newer build) shows no responses instead of failing
        // every tool that reads it; recording a response writes a readable file again.
    }
    const auto mine = unwritten.find(requestID);
    lists[requestID] = mine == unwritten.end() ? std::move(theirs) : merged(std::move(theirs), mine->second);
}

const std::vector<StoredResponse>& ResponseHistory::responses(const Uuid& requestID) {
    if (!lists.contains(requestID)) take(requestID, fileFor(requestID).read());
    return lists[requestID];
}

std::optional<std::string> ResponseHistory::record(const StoredResponse& response) {
    const Uuid& id = response.requestID;
    responses(id);
    auto& mine = unwritten[id];
    mine.insert(mine.begin(), response);
    if (mine.size() > historyLimit) mine.resize(historyLimit);
    if (const auto outside = fileFor(id).change()) {
        take(id, *outside);
    } else {
        lists[id] = merged(std::move(lists[id]), mine);
    }
    try {
        write(id);
    } catch (const std::exception& failure) {
        return std::string("Couldn't save the response history: ") + failure.what();
    }
    writeUnwritten();
    return std::nullopt;
}

void ResponseHistory::write(const Uuid& requestID) {
    atomicFile::createFolders(folder);
    WatchedFile& file = fileFor(requestID);
    if (const auto theirs = file.write(encodeHistory(lists[requestID]))) {
        // The other process recorded while ours was being written: keep both.
        take(requestID, {.bytes = *theirs});
        file.write(encodeHistory(lists[requestID]));
    }
    unwritten.erase(requestID);
}

void ResponseHistory::writeUnwritten() {
    std::vector<Uuid> waiting;
    for (const auto& entry : unwritten) waiting.push_back(entry.first);
    for (const auto& id : waiting) {
        try {
            write(id);
        } catch (const std::exception&) {
            // Still unwritten; the failure was told when the response was recorded.
        }
    }
}

void ResponseHistory::reloadAll(const std::vector<Uuid>& requestIDs) {
    for (auto& [id, list] : lists) take(id, fileFor(id).read());
    for (const auto& id : requestIDs) {
        std::error_code ignored;
        if (!lists.contains(id) && std::filesystem::exists(folder / (id.text() + ".json"), ignored)) responses(id);
    }
}

void ResponseHistory::reloadChanged() {
    for (auto& [id, file] : files) {
        if (const auto content = file.change()) take(id, *content);
    }
}

}  // namespace tessaline
