#include "desktop/editing/WorkspaceEditor.hpp"

#include "core/model/ItemTree.hpp"
#include "core/support/CurlyQuoted.hpp"
#include "core/support/FindByID.hpp"

#include <algorithm>

namespace tessaline {

namespace {

// The item with that id anywhere in the workspace, with the id of its collection. Built in
// place: GCC 12 at -O3 takes a pair moved out of a returned temporary for one that may hold
// an uninitialised folder.
std::optional<std::pair<CollectionItem, Uuid>> findItem(const Workspace& workspace, const Uuid& id) {
    std::optional<std::pair<CollectionItem, Uuid>> found;
    for (const auto& collection : workspace.collections) {
        if (auto request = itemTree::firstRequest(collection.items, id)) {
            found.emplace(std::move(*request), collection.id);
        } else if (auto folder = itemTree::firstFolder(collection.items, id)) {
            found.emplace(std::move(*folder), collection.id);
        }
        if (found) break;
    }
    return found;
}

// Inserts `item` right after the item with id `anchor`, at whatever depth that stands.
bool insertAfter(std::vector<CollectionItem>& items, const Uuid& anchor, const CollectionItem& item) {
    for (auto it = items.begin(); it != items.end(); ++it) {
        if (it->id() == anchor) {
            items.insert(it + 1, item);
            return true;
        }
        if (auto* folder = it->folder(); folder && insertAfter(folder->items, anchor, item)) return true;
    }
    return false;
}

// The id of the folder that directly holds the item, absent at the top level.
std::optional<Uuid> parentFolder(const std::vector<CollectionItem>& items, const Uuid& id) {
    const auto path = itemTree::folderPathTo(items, id);
    if (!path || path->empty()) return std::nullopt;
    return path->back().id;
}

// Puts the record with `id` back as it stands in `from`, or removes it when `from` has none.
template <class Record>
void restoreRecord(std::vector<Record>& records, const std::vector<Record>& from, const Uuid& id) {
    const auto old = std::find_if(from.begin(), from.end(), [&](const Record& record) { return record.id == id; });
    if (old == from.end()) {
        std::erase_if(records, [&](const Record& record) { return record.id == id; });
    } else if (auto* current = findByID(records, id)) {
        *current = *old;
    } else {
        records.push_back(*old);
    }
}

// Puts a request or folder back where it stood: in its old folder if that still exists, else
// at the top level of its old collection.
void restoreItem(Workspace& workspace, const Workspace& from, const Uuid& id) {
    for (auto& collection : workspace.collections) itemTree::remove(collection.items, id);
    const auto old = findItem(from, id);
    if (!old) return;
    auto* target = findByID(workspace.collections, old->second);
    if (!target) return;
    auto parent = parentFolder(findByID(from.collections, old->second)->items, id);
    if (parent && !itemTree::firstFolder(target->items, *parent)) parent.reset();
    itemTree::insertIntoFolder(target->items, old->first, parent);
}

}  // namespace

WorkspaceEditor::WorkspaceEditor(std::filesystem::path folderPath, Clock now)
    : clock(now), store(std::move(folderPath), now) {}

WorkspaceEditor::~WorkspaceEditor() {
    const Lock lock(mutex);
    if (pendingSave) saveLocked();
}

Workspace WorkspaceEditor::workspace() {
    const Lock lock(mutex);
    return store.workspace();
}

std::optional<APIRequest> WorkspaceEditor::request(const Uuid& id) {
    const Lock lock(mutex);
    return store.request(id);
}

std::vector<WorkspaceVersion> WorkspaceEditor::versions() {
    const Lock lock(mutex);
    return store.versions();
}

std::optional<std::string> WorkspaceEditor::lastError() {
    const Lock lock(mutex);
    return error;
}

bool WorkspaceEditor::canUndo() {
    const Lock lock(mutex);
    return undoHistory.canUndo();
}

bool WorkspaceEditor::canRedo() {
    const Lock lock(mutex);
    return undoHistory.canRedo();
}

std::optional<std::string> WorkspaceEditor::undoLabel() {
    const Lock lock(mutex);
    return undoHistory.undoLabel();
}

std::optional<std::string> WorkspaceEditor::redoLabel() {
    const Lock lock(mutex);
    return undoHistory.redoLabel();
}

// Edits

void WorkspaceEditor::checkpoint(const std::string& label, const std::optional<std::string>& coalescingKey) {
    if (grouping) return;
    const Date now = clock();
    if (undoHistory.coalesces(coalescingKey, now)) return;
    undoHistory.push({store.workspace(), label}, coalescingKey, now);
}

void WorkspaceEditor::edit(const std::string& label, const std::optional<std::string>& coalescingKey,
                           const std::function<void()>& change) {
    checkpoint(label, coalescingKey);
    change();
    scheduleSaveLocked();
}

void WorkspaceEditor::addCollection(const APICollection& collection) {
    const Lock lock(mutex);
    edit("New Collection", std::nullopt, [&] { store.addCollection(collection); });
}

void WorkspaceEditor::update(const APICollection& collection) {
    const Lock lock(mutex);
    if (!store.collection(collection.id)) return;
    edit("Edit " + curlyQuoted(collection.name), "collection-" + collection.id.text(), [&] { store.update(collection); });
}

void WorkspaceEditor::addEnvironment(const APIEnvironment& environment) {
    const Lock lock(mutex);
    edit("New Environment", std::nullopt, [&] { store.addEnvironment(environment); });
}

void WorkspaceEditor::update(const APIEnvironment& environment) {
    const Lock lock(mutex);
    edit("Edit " + curlyQuoted(environment.name), "environment-" + environment.id.text(), [&] { store.update(environment); });
}

void WorkspaceEditor::deleteEnvironment(const Uuid& id) {
    const Lock lock(mutex);
    const auto environments = store.workspace().environments;
    const auto found = std::find_if(environments.begin(), environments.end(), [&](const APIEnvironment& e) { return e.id == id; });
    if (found == environments.end()) return;
    store.snapshotVersion("Before deleting " + curlyQuoted(found->name));
    edit("Delete " + curlyQuoted(found->name), std::nullopt, [&] {
        store.edit([id](Workspace& w) { std::erase_if(w.environments, [&](const APIEnvironment& e) { return e.id == id; }); });
    });
}

void WorkspaceEditor::setActiveEnvironment(const std::optional<Uuid>& id) {
    const Lock lock(mutex);
    edit("Switch Environment", std::nullopt, [&] { store.setActiveEnvironment(id); });
}

void WorkspaceEditor::addRequest(const APIRequest& request, const Uuid& collectionID, const std::optional<Uuid>& folderID) {
    const Lock lock(mutex);
    if (!store.collection(collectionID)) return;
    edit("New Request", std::nullopt, [&] { store.addRequest(request, collectionID, folderID); });
}

void WorkspaceEditor::addFolder(const Folder& folder, const Uuid& collectionID, const std::optional<Uuid>& folderID) {
    const Lock lock(mutex);
    if (!store.collection(collectionID)) return;
    edit("New Folder", std::nullopt, [&] { store.addFolder(folder, collectionID, folderID); });
}

void WorkspaceEditor::update(const APIRequest& request) {
    const Lock lock(mutex);
    const auto old = store.request(request.id);
    if (!old) return;
    const bool renamed = old->name != request.name;
    edit((renamed ? "Rename " : "Edit ") + curlyQuoted(request.name),
         renamed ? std::nullopt : std::optional("request-" + request.id.text()), [&] { store.update(request); });
}

void WorkspaceEditor::deleteItem(const Uuid& id) {
    const Lock lock(mutex);
    const auto item = findItem(store.workspace(), id);
    if (!item) return;
    edit("Delete " + curlyQuoted(item->first.name()), std::nullopt, [&] { store.deleteItem(id); });
}

void WorkspaceEditor::renameFolder(const Uuid& id, const std::string& name) {
    const Lock lock(mutex);
    if (!findItem(store.workspace(), id)) return;
    edit("Rename " + curlyQuoted(name), std::nullopt, [&] {
        store.edit([id, name](Workspace& w) {
            for (auto& collection : w.collections) itemTree::renameFolder(collection.items, id, name);
        });
    });
}

std::optional<APIRequest> WorkspaceEditor::duplicateRequest(const Uuid& id) {
    const Lock lock(mutex);
    auto copy = store.request(id);
    if (!copy) return std::nullopt;
    const std::string label = "Duplicate " + curlyQuoted(copy->name);
    copy->id = Uuid::random();
    copy->name += " copy";
    edit(label, std::nullopt, [&] {
        store.edit([id, copy = *copy](Workspace& w) {
            for (auto& collection : w.collections) {
                if (insertAfter(collection.items, id, copy)) return;
            }
        });
    });
    return copy;
}

void WorkspaceEditor::move(const Uuid& itemID, const Uuid& collectionID, const std::optional<Uuid>& folderID) {
    const Lock lock(mutex);
    const Workspace workspace = store.workspace();
    const auto item = findItem(workspace, itemID);
    const auto target = store.collection(collectionID);
    if (!item || !target) return;
    // A folder cannot go into itself or anything inside it.
    const auto inside = item->first.nestedIDs();
    if (folderID && (*folderID == itemID || std::find(inside.begin(), inside.end(), *folderID) != inside.end())) return;
    if (folderID && !itemTree::firstFolder(target->items, *folderID)) return;
    edit("Move", std::nullopt, [&] {
        store.edit([itemID, collectionID, folderID, moved = item->first](Workspace& w) {
            auto* collection = findByID(w.collections, collectionID);
            if (!collection) return;
            for (auto& each : w.collections) itemTree::remove(each.items, itemID);
            itemTree::insertIntoFolder(collection->items, moved, folderID);
        });
    });
}

void WorkspaceEditor::group(const std::string& label, const std::function<void()>& body) {
    std::optional<Workspace> before;
    {
        const Lock lock(mutex);
        if (!grouping) before = store.workspace();
        grouping = true;
    }
    const auto finish = [&] {
        const Lock lock(mutex);
        if (!before) return;
        grouping = false;
        // The step holds the state before the whole group, so that one undo reverts all of it.
        if (*before != store.workspace()) undoHistory.push({std::move(*before), label}, std::nullopt, clock());
    };
    try {
        body();
    } catch (...) {
        finish();
        throw;
    }
    finish();
}

void WorkspaceEditor::replaceLive(const Workspace& workspace) {
    store.edit([workspace](Workspace& w) { w = workspace; });
    scheduleSaveLocked();
    store.preloadHistory();
}

void WorkspaceEditor::undo() {
    const Lock lock(mutex);
    if (auto previous = undoHistory.undo(store.workspace())) replaceLive(*previous);
}

void WorkspaceEditor::redo() {
    const Lock lock(mutex);
    if (auto next = undoHistory.redo(store.workspace())) replaceLive(*next);
}

// Versions

void WorkspaceEditor::snapshotVersion(const std::string& reason) {
    const Lock lock(mutex);
    store.snapshotVersion(reason);
}

void WorkspaceEditor::snapshotVersionIfEdited(const Uuid& requestID) {
    const Lock lock(mutex);
    const auto current = store.request(requestID);
    if (!current) return;
    std::optional<APIRequest> before;
    if (const auto& last = store.lastVersionWorkspace()) {
        for (const auto& collection : last->collections) {
            if ((before = itemTree::firstRequest(collection.items, requestID))) break;
        }
    }
    if (before != current) store.snapshotVersion("Edited " + curlyQuoted(current->name));
}

void WorkspaceEditor::restore(const WorkspaceVersion& version) {
    const Lock lock(mutex);
    const Workspace restored = VersionArchive(version.url.parent_path()).load(version);
    store.snapshotVersion("Before restoring a version");
    checkpoint("Restore Version");
    replaceLive(restored);
    saveLocked();
}

void WorkspaceEditor::restore(const APIRequest& request) {
    const Lock lock(mutex);
    if (!store.request(request.id)) return;
    store.snapshotVersion("Before restoring " + curlyQuoted(request.name));
    edit("Restore " + curlyQuoted(request.name), std::nullopt, [&] { store.update(request); });
}

void WorkspaceEditor::restore(const WorkspaceChange& change, const Workspace& from) {
    const Lock lock(mutex);
    store.snapshotVersion("Before restoring " + curlyQuoted(change.name));
    edit("Restore " + curlyQuoted(change.name), std::nullopt, [&] {
        store.edit([entity = change.entity, id = change.entityID, from](Workspace& w) {
            switch (entity) {
                case WorkspaceChange::Entity::collection:
                    restoreRecord(w.collections, from.collections, id);
                    break;
                case WorkspaceChange::Entity::folder:
                case WorkspaceChange::Entity::request:
                    restoreItem(w, from, id);
                    break;
                case WorkspaceChange::Entity::environment:
                    restoreRecord(w.environments, from.environments, id);
                    break;
            }
        });
    });
}

// Persistence

void WorkspaceEditor::scheduleSave() {
    const Lock lock(mutex);
    scheduleSaveLocked();
}

void WorkspaceEditor::scheduleSaveLocked() {
    if (pendingSave) background.cancel(*pendingSave);
    pendingSave = background.post(
        [this] {
            const Lock lock(mutex);
            saveLocked();
        },
        saveDelay);
}

SaveReport WorkspaceEditor::saveNow() {
    const Lock lock(mutex);
    return saveLocked();
}

SaveReport WorkspaceEditor::saveLocked() {
    if (pendingSave) background.cancel(*pendingSave);
    pendingSave.reset();
    SaveReport report = store.saveNow();
    error = report.failure;
    return report;
}

void WorkspaceEditor::reloadIfChanged() {
    const Lock lock(mutex);
    if (auto before = store.reloadIfChanged()) undoHistory.push({std::move(*before), "External Change"}, std::nullopt, clock());
}

void WorkspaceEditor::watchTick() {
    reloadIfChanged();
    background.post([this] { watchTick(); }, watchInterval);
}

void WorkspaceEditor::startWatching() {
    const Lock lock(mutex);
    if (watching) return;
    watching = true;
    background.post([this] { watchTick(); }, watchInterval);
}

void WorkspaceEditor::record(const StoredResponse& response) {
    background.post([this, response] {
        const Lock lock(mutex);
        error = store.recordAndFlush(response).failure;
    });
}

}  // namespace tessaline
