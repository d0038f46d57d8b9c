#pragma once

#include "core/model/CollectionItem.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <vector>

// Operations on an ordered list of collection items: a collection's top level or a folder's
// contents. Every walk is depth first in list order, descending into a folder where the
// folder stands (pre-order).
namespace tessaline::itemTree {

std::vector<APIRequest> allRequests(const std::vector<CollectionItem>& items);
// Calls `visit` with every request in walk order and the folders that lead to it, outermost
// first; nothing is copied.
void forEachRequest(const std::vector<CollectionItem>& items,
                    const std::function<void(const APIRequest&, const std::vector<const Folder*>&)>& visit);
std::size_t requestCount(const std::vector<CollectionItem>& items);
// The ids of folders and requests alike.
std::vector<Uuid> allIDs(const std::vector<CollectionItem>& items);

// The first request in walk order whose name is exactly `name`.
std::optional<APIRequest> firstRequestNamed(const std::vector<CollectionItem>& items, std::string_view name);
std::optional<APIRequest> firstRequest(const std::vector<CollectionItem>& items, const Uuid& id);
std::optional<Folder> firstFolder(const std::vector<CollectionItem>& items, const Uuid& id);
bool containsRequest(const std::vector<CollectionItem>& items, const Uuid& requestID);

// The folders from the top level down to the item with that id, outermost first: empty for
// a top-level item, absent when the id is nowhere in the tree.
std::optional<std::vector<Folder>> folderPathTo(const std::vector<CollectionItem>& items, const Uuid& id);

// Each of these returns whether its target was found; nothing changes when it was not.
bool replaceRequest(std::vector<CollectionItem>& items, const APIRequest& request);
bool renameFolder(std::vector<CollectionItem>& items, const Uuid& id, const std::string& name);
// A removed folder goes with everything inside it.
bool remove(std::vector<CollectionItem>& items, const Uuid& id);
void removeAll(std::vector<CollectionItem>& items, const std::unordered_set<Uuid>& ids);

// Inserts into the folder with id `folderID`, or at the top level when it is absent, at
// `position` when one is given; a position past the end (or none) appends.
bool insertIntoFolder(std::vector<CollectionItem>& items, CollectionItem item, const std::optional<Uuid>& folderID,
                      std::optional<std::size_t> position = std::nullopt);

}  // namespace tessaline::itemTree
