#pragma once

#include "core/model/Workspace.hpp"
#include "desktop/editing/WorkspaceChange.hpp"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

// What differs between two workspaces, typically a snapshot and the live one.
//
// changes(from, to) reports, with `from` the older workspace:
// - collections, matched by id: added or removed (detail "1 request" / "<n> requests", all
//   requests at any depth), or modified (detail: collectionFields joined with ", ");
// - folders and requests, matched by id over all collections: added, removed, moved when
//   their collection or parent folder differs (detail "was in <old parent folder, or old
//   collection at the top level>"), and modified: a request by its requestFields, a folder
//   when renamed (detail "name"). One item can be both moved and modified. Items of an added
//   or removed collection are not listed one by one: the collection's change stands for them.
// - environments, matched by id: added, removed (empty detail) or modified ("name",
//   "variables").
// The list is sorted by entity (collection, folder, request, environment), then kind (added,
// removed, modified, moved), then name (byte-wise), then id.
namespace tessaline::workspaceDiff {

// Where a folder or request stands: its collection and the folder directly holding it
// (none at the collection's top level).
struct Placed {
    CollectionItem item;
    Uuid collectionID;
    std::optional<Uuid> parentID;

    bool operator==(const Placed&) const = default;
};

std::vector<WorkspaceChange> changes(const Workspace& from, const Workspace& to);

// "Same as now", "<name> added" / "removed" / "changed" / "moved", or "<n> differences".
std::string summary(const std::vector<WorkspaceChange>& changes);

// Every folder and request of every collection by id.
std::unordered_map<Uuid, Placed> flatten(const Workspace& workspace);

// The differing fields, in this order: "name", "method", "URL", "params", "headers",
// "body", "auth", "docs", "settings" (follow redirects or timeout). Rows are compared
// whole, ids and enabled flags included.
std::vector<std::string> requestFields(const APIRequest& older, const APIRequest& newer);
// "name", "base URL", "variables", "auth", "docs", "appearance" (icon or colour).
std::vector<std::string> collectionFields(const APICollection& older, const APICollection& newer);

}  // namespace tessaline::workspaceDiff
