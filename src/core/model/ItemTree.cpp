#include "core/model/ItemTree.hpp"

#include <algorithm>
#include <type_traits>

namespace tessaline::itemTree {
namespace {

// The first item in walk order that satisfies `match`, const or mutable as `items` is.
template <class Items, class Match>
auto findItem(Items& items, const Match& match) -> decltype(&items.front()) {
    for (auto& item : items) {
        if (match(item)) return &item;
        if (auto* folder = item.folder()) {
            if (auto* found = findItem(folder->items, match)) return found;
        }
    }
    return nullptr;
}

template <class Visit>
void forEach(const std::vector<CollectionItem>& items, const Visit& visit) {
    for (const auto& item : items) {
        visit(item);
        if (const auto* folder = item.folder()) forEach(folder->items, visit);
    }
}

auto requestWithID(const Uuid& id) {
    return [&id](const CollectionItem& item) { return item.request() != nullptr && item.id() == id; };
}

auto folderWithID(const Uuid& id) {
    return [&id](const CollectionItem& item) { return item.folder() != nullptr && item.id() == id; };
}

void insertAt(std::vector<CollectionItem>& items, CollectionItem item, std::optional<std::size_t> position) {
    const auto index = std::min(position.value_or(items.size()), items.size());
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(index), std::move(item));
}

bool appendFolderPath(const std::vector<CollectionItem>& items, const Uuid& id, std::vector<Folder>& path) {
    for (const auto& item : items) {
        if (item.id() == id) return true;
        if (const auto* folder = item.folder()) {
            path.push_back(*folder);
            if (appendFolderPath(folder->items, id, path)) return true;
            path.pop_back();
        }
    }
    return false;
}

void visitRequests(const std::vector<CollectionItem>& items, std::vector<const Folder*>& path,
                   const std::function<void(const APIRequest&, const std::vector<const Folder*>&)>& visit) {
    for (const auto& item : items) {
        if (const auto* request = item.request()) visit(*request, path);
        if (const auto* folder = item.folder()) {
            path.push_back(folder);
            visitRequests(folder->items, path, visit);
            path.pop_back();
        }
    }
}

}  // namespace

std::vector<APIRequest> allRequests(const std::vector<CollectionItem>& items) {
    std::vector<APIRequest> requests;
    forEach(items, [&](const CollectionItem& item) {
        if (const auto* request = item.request()) requests.push_back(*request);
    });
    return requests;
}

void forEachRequest(const std::vector<CollectionItem>& items,
                    const std::function<void(const APIRequest&, const std::vector<const Folder*>&)>& visit) {
    std::vector<const Folder*> path;
    visitRequests(items, path, visit);
}

std::size_t requestCount(const std::vector<CollectionItem>& items) {
    std::size_t count = 0;
    forEach(items, [&](const CollectionItem& item) { count += item.request() != nullptr; });
    return count;
}

std::vector<Uuid> allIDs(const std::vector<CollectionItem>& items) {
    std::vector<Uuid> ids;
    forEach(items, [&](const CollectionItem& item) { ids.push_back(item.id()); });
    return ids;
}

std::optional<APIRequest> firstRequestNamed(const std::vector<CollectionItem>& items, std::string_view name) {
    const auto* found =
        findItem(items, [name](const CollectionItem& item) { return item.request() != nullptr && item.name() == name; });
    if (found == nullptr) return std::nullopt;
    return *found->request();
}

std::optional<APIRequest> firstRequest(const std::vector<CollectionItem>& items, const Uuid& id) {
    const auto* found = findItem(items, requestWithID(id));
    if (found == nullptr) return std::nullopt;
    return *found->request();
}

std::optional<Folder> firstFolder(const std::vector<CollectionItem>& items, const Uuid& id) {
    const auto* found = findItem(items, folderWithID(id));
    if (found == nullptr) return std::nullopt;
    return *found->folder();
}

bool containsRequest(const std::vector<CollectionItem>& items, const Uuid& requestID) {
    return findItem(items, requestWithID(requestID)) != nullptr;
}

std::optional<std::vector<Folder>> folderPathTo(const std::vector<CollectionItem>& items, const Uuid& id) {
    std::vector<Folder> path;
    if (!appendFolderPath(items, id, path)) return std::nullopt;
    return path;
}

bool replaceRequest(std::vector<CollectionItem>& items, const APIRequest& request) {
    auto* found = findItem(items, requestWithID(request.id));
    if (found == nullptr) return false;
    *found->request() = request;
    return true;
}

bool renameFolder(std::vector<CollectionItem>& items, const Uuid& id, const std::string& name) {
    auto* found = findItem(items, folderWithID(id));
    if (found == nullptr) return false;
    found->folder()->name = name;
    return true;
}

bool remove(std::vector<CollectionItem>& items, const Uuid& id) {
    for (auto it = items.begin(); it != items.end(); ++it) {
        if (it->id() == id) {
            items.erase(it);
            return true;
        }
        if (auto* folder = it->folder(); folder != nullptr && remove(folder->items, id)) return true;
    }
    return false;
}

void removeAll(std::vector<CollectionItem>& items, const std::unordered_set<Uuid>& ids) {
    std::erase_if(items, [&ids](const CollectionItem& item) { return ids.contains(item.id()); });
    for (auto& item : items) {
        if (auto* folder = item.folder()) removeAll(folder->items, ids);
    }
}

bool insertIntoFolder(std::vector<CollectionItem>& items, CollectionItem item, const std::optional<Uuid>& folderID,
                      std::optional<std::size_t> position) {
    if (!folderID) {
        insertAt(items, std::move(item), position);
        return true;
    }
    auto* found = findItem(items, folderWithID(*folderID));
    if (found == nullptr) return false;
    insertAt(found->folder()->items, std::move(item), position);
    return true;
}

}  // namespace tessaline::itemTree
