#include "storage/ResponseHistory.hpp"

#include "support/AtomicFile.hpp"

#include <system_error>

namespace tessaline {

std::filesystem::path ResponseHistory::fileFor(const Uuid& requestID) const {
    return folder / (requestID.text() + ".json");
}

void ResponseHistory::load(const Uuid& requestID) {
    const auto path = fileFor(requestID);
    stamps[requestID] = FileStamp::of(path);
    try {
        lists[requestID] = decodeHistory(atomicFile::read(path));
    } catch (const Error&) {
        lists[requestID] = {};
    }
}

const std::vector<StoredResponse>& ResponseHistory::responses(const Uuid& requestID) {
    if (!lists.contains(requestID)) load(requestID);
    return lists[requestID];
}

std::optional<StoredResponse> ResponseHistory::cachedLatest(const Uuid& requestID) const {
    const auto found = lists.find(requestID);
    if (found == lists.end() || found->second.empty()) return std::nullopt;
    return found->second.front();
}

std::string ResponseHistory::record(const StoredResponse& response) {
    responses(response.requestID);
    auto& list = lists[response.requestID];
    list.insert(list.begin(), response);
    if (list.size() > historyLimit) list.resize(historyLimit);
    return encodeHistory(list);
}

void ResponseHistory::write(const Uuid& requestID, std::string_view bytes) {
    try {
        std::filesystem::create_directories(folder);
        atomicFile::write(fileFor(requestID), bytes);
        stamps[requestID] = FileStamp::of(fileFor(requestID));
    } catch (const std::exception&) {
    }
}

void ResponseHistory::clear(const Uuid& requestID) {
    lists[requestID] = {};
    std::error_code ignored;
    std::filesystem::remove(fileFor(requestID), ignored);
    stamps[requestID] = std::nullopt;
}

void ResponseHistory::reloadAll(const std::vector<Uuid>& requestIDs) {
    std::vector<Uuid> loaded;
    for (const auto& [id, list] : lists) loaded.push_back(id);
    for (const auto& id : loaded) load(id);
    for (const auto& id : requestIDs) {
        if (!lists.contains(id) && std::filesystem::exists(fileFor(id))) load(id);
    }
}

void ResponseHistory::reloadChanged() {
    for (auto& [id, stamp] : stamps) {
        const auto current = FileStamp::of(fileFor(id));
        if (current != stamp) load(id);
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
        stamps.erase(*id);
    }
}

}  // namespace tessaline
