#include "desktop/editing/WorkspaceDiff.hpp"

#include "core/model/ItemTree.hpp"
#include "core/support/FindByID.hpp"
#include "core/support/Joined.hpp"
#include "core/support/Overloaded.hpp"

#include <algorithm>
#include <tuple>

namespace tessaline {
namespace {

using Kind = WorkspaceChange::Kind;
using Entity = WorkspaceChange::Entity;

// Collects the names of differing fields in the order they are checked.
class FieldList {
public:
    FieldList& check(bool differs, const char* name) {
        if (differs) fieldNames.emplace_back(name);
        return *this;
    }
    const std::vector<std::string>& names() const { return fieldNames; }

private:
    std::vector<std::string> fieldNames;
};

std::vector<std::string> environmentFields(const APIEnvironment& older, const APIEnvironment& newer) {
    return FieldList()
        .check(older.name != newer.name, "name")
        .check(older.variables != newer.variables, "variables")
        .names();
}

std::vector<std::string> itemFields(const CollectionItem& older, const CollectionItem& newer) {
    if (older.request() != nullptr && newer.request() != nullptr) {
        return workspaceDiff::requestFields(*older.request(), *newer.request());
    }
    if (older.name() != newer.name()) return {"name"};
    return {};
}

std::string requestCount(const APICollection& collection) {
    const auto count = itemTree::allRequests(collection.items).size();
    return count == 1 ? "1 request" : std::to_string(count) + " requests";
}

Entity entityOf(const CollectionItem& item) {
    return std::visit(Overloaded{
                          [](const Folder&) { return Entity::folder; },
                          [](const APIRequest&) { return Entity::request; },
                      },
                      item.payload);
}

// Adds the changes of records matched by id between two lists: collections or environments.
template <class Record, class Presence, class Fields>
void compareByID(const std::vector<Record>& older, const std::vector<Record>& newer, Entity entity,
                 const Presence& presence, const Fields& fields, std::vector<WorkspaceChange>& changes) {
    for (const auto& record : newer) {
        const auto* old = findByID(older, record.id);
        if (old == nullptr) {
            changes.push_back({Kind::added, entity, record.id, record.name, presence(record)});
        } else if (const auto differing = fields(*old, record); !differing.empty()) {
            changes.push_back({Kind::modified, entity, record.id, record.name, joined(differing, ", ")});
        }
    }
    for (const auto& record : older) {
        if (findByID(newer, record.id) == nullptr) {
            changes.push_back({Kind::removed, entity, record.id, record.name, presence(record)});
        }
    }
}

class ItemComparison {
public:
    ItemComparison(const Workspace& from, const Workspace& to)
        : fromWorkspace(from), toWorkspace(to), olderItems(workspaceDiff::flatten(from)), newerItems(workspaceDiff::flatten(to)) {}

    void addChanges(std::vector<WorkspaceChange>& changes) const {
        for (const auto& [id, placed] : newerItems) {
            const auto old = olderItems.find(id);
            if (old == olderItems.end()) {
                if (findByID(fromWorkspace.collections, placed.collectionID) != nullptr) add(changes, Kind::added, placed, "");
                continue;
            }
            if (old->second.collectionID != placed.collectionID || old->second.parentID != placed.parentID) {
                add(changes, Kind::moved, placed, "was in " + parentName(old->second));
            }
            if (const auto differing = itemFields(old->second.item, placed.item); !differing.empty()) {
                add(changes, Kind::modified, placed, joined(differing, ", "));
            }
        }
        for (const auto& [id, placed] : olderItems) {
            if (!newerItems.contains(id) && findByID(toWorkspace.collections, placed.collectionID) != nullptr) {
                add(changes, Kind::removed, placed, "");
            }
        }
    }

private:
    static void add(std::vector<WorkspaceChange>& changes, Kind kind, const workspaceDiff::Placed& placed,
                    std::string detail) {
        changes.push_back({kind, entityOf(placed.item), placed.item.id(), placed.item.name(), std::move(detail)});
    }

    // The name of the folder holding the item in the older workspace, or of its collection.
    std::string parentName(const workspaceDiff::Placed& placed) const {
        if (placed.parentID) return olderItems.at(*placed.parentID).item.name();
        return findByID(fromWorkspace.collections, placed.collectionID)->name;
    }

    const Workspace& fromWorkspace;
    const Workspace& toWorkspace;
    std::unordered_map<Uuid, workspaceDiff::Placed> olderItems;
    std::unordered_map<Uuid, workspaceDiff::Placed> newerItems;
};

void flattenInto(std::unordered_map<Uuid, workspaceDiff::Placed>& places, const std::vector<CollectionItem>& items,
                 const Uuid& collectionID, const std::optional<Uuid>& parentID) {
    for (const auto& item : items) {
        places.insert_or_assign(item.id(), workspaceDiff::Placed{item, collectionID, parentID});
        if (const auto* folder = item.folder()) flattenInto(places, folder->items, collectionID, folder->id);
    }
}

bool sortsBefore(const WorkspaceChange& left, const WorkspaceChange& right) {
    return std::forward_as_tuple(left.entity, left.kind, left.name, left.entityID) <
           std::forward_as_tuple(right.entity, right.kind, right.name, right.entityID);
}

std::string_view verb(Kind kind) {
    switch (kind) {
        case Kind::added: return "added";
        case Kind::removed: return "removed";
        case Kind::modified: return "changed";
        case Kind::moved: return "moved";
    }
    return {};
}

}  // namespace

std::vector<WorkspaceChange> workspaceDiff::changes(const Workspace& from, const Workspace& to) {
    std::vector<WorkspaceChange> changes;
    compareByID(from.collections, to.collections, Entity::collection, requestCount, collectionFields, changes);
    ItemComparison(from, to).addChanges(changes);
    compareByID(
        from.environments, to.environments, Entity::environment, [](const APIEnvironment&) { return std::string(); },
        environmentFields, changes);
    std::sort(changes.begin(), changes.end(), sortsBefore);
    return changes;
}

std::string workspaceDiff::summary(const std::vector<WorkspaceChange>& changes) {
    if (changes.empty()) return "Same as now";
    if (changes.size() == 1) return changes.front().name + " " + std::string(verb(changes.front().kind));
    return std::to_string(changes.size()) + " differences";
}

std::unordered_map<Uuid, workspaceDiff::Placed> workspaceDiff::flatten(const Workspace& workspace) {
    std::unordered_map<Uuid, Placed> places;
    for (const auto& collection : workspace.collections) flattenInto(places, collection.items, collection.id, std::nullopt);
    return places;
}

std::vector<std::string> workspaceDiff::requestFields(const APIRequest& older, const APIRequest& newer) {
    return FieldList()
        .check(older.name != newer.name, "name")
        .check(older.method != newer.method, "method")
        .check(older.url != newer.url, "URL")
        .check(older.query != newer.query, "params")
        .check(older.headers != newer.headers, "headers")
        .check(older.body != newer.body, "body")
        .check(older.auth != newer.auth, "auth")
        .check(older.notes != newer.notes, "docs")
        .check(older.followRedirects != newer.followRedirects || older.timeout != newer.timeout,
                "settings")
        .names();
}

std::vector<std::string> workspaceDiff::collectionFields(const APICollection& older, const APICollection& newer) {
    return FieldList()
        .check(older.name != newer.name, "name")
        .check(older.baseURL != newer.baseURL, "base URL")
        .check(older.variables != newer.variables, "variables")
        .check(older.auth != newer.auth, "auth")
        .check(older.notes != newer.notes, "docs")
        .check(older.icon != newer.icon || older.color != newer.color, "appearance")
        .names();
}

}  // namespace tessaline
