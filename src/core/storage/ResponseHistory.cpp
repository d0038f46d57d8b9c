#include "core/storage/ResponseHistory.hpp"

#include "core/support/AtomicFile.hpp"

#include <algorithm>
#include <system_error>

namespace tessaline {

WatchedFile& ResponseHistory::fileFor(const Uuid& requestID) {
    auto found = files.find(requestID);
    if (found == files.end()) found = files.try_emplace(requestID, folder / (requestID.text() + ".json"), clock).first;
    return found->second;
}

void ResponseHistory::take(const Uuid& requestID, const WatchedFile::Content& content) {
    try {
        lists[requestID] = content.bytes ? decodeHistory(*content.bytes) : std::vector<StoredResponse>{};
    } catch (const Error&) {
        // A damaged history (or one from a newer build) shows no responses instead of failing
        // every tool that reads it; recording a response writes a readable file again.
        lists[requestID] = {};
    }
}

const std::vector<StoredResponse>& ResponseHistory::responses(const Uuid& requestID) {
    if (!lists.contains(requestID)) take(requestID, fileFor(requestID).read());
    return lists[requestID];
}

std::optional<StoredResponse> ResponseHistory::cachedLatest(const Uuid& requestID) const {
    const auto found = lists.find(requestID);
    if (found == lists.end() || found->second.empty()) return std::nullopt;
    return found->second.front();
}

std::optional<std::string> ResponseHistory::record(const StoredResponse& response) {
    const Uuid& id = response.requestID;
    responses(id);
    WatchedFile& file = fileFor(id);
    if (const auto outside = file.change()) take(id, *outside);
    auto& list = lists[id];
    list.insert(list.begin(), response);
    if (list.size() > historyLimit) list.resize(historyLimit);
    try {
        atomicFile::createFolders(folder);
        if (const auto theirs = file.write(encodeHistory(list))) {
            // The other process recorded while ours was being written: keep both.
            const auto ours = std::move(list);
            take(id, {.bytes = *theirs});
            auto& merged = lists[id];
            for (const auto& recorded : ours) {
                const auto same = [&](const StoredResponse& other) { return other.id == recorded.id; };
                if (std::none_of(merged.begin(), merged.end(), same)) merged.push_back(recorded);
            }
            std::stable_sort(merged.begin(), merged.end(),
                             [](const StoredResponse& a, const StoredResponse& b) { return a.sentAt > b.sentAt; });
            if (merged.size() > historyLimit) merged.resize(historyLimit);
            file.write(encodeHistory(merged));
        }
        return std::nullopt;
    } catch (const std::exception& failure) {
        return std::string("Couldn't save the response history: ") + failure.what();
    }
}

void ResponseHistory::clear(const Uuid& requestID) {
    lists[requestID] = {};
    WatchedFile& file = fileFor(requestID);
    std::error_code ignored;
    std::filesystem::remove(file.path(), ignored);
    file.read();
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

void ResponseHistory::pruneOrphaned(const std::unordered_set<Uuid>& live, std::chrono::seconds age, Date now) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const auto path = entry.path();
        if (path.extension() != ".json") continue;
        const auto id = Uuid::parse(path.stem().string());
        if (!id || live.contains(*id)) continue;
        const auto stamp = FileStamp::of(path);
        if (!stamp || now - stamp->modified < age) continue;
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
        lists.erase(*id);
        files.erase(*id);
    }
}

}  // namespace tessaline
