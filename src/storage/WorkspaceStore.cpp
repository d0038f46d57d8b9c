#include "storage/WorkspaceStore.hpp"

#include "model/ItemTree.hpp"
#include "model/WorkspaceCoding.hpp"
#include "storage/SampleWorkspace.hpp"
#include "support/AtomicFile.hpp"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <unordered_set>

namespace tessaline {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

std::string inCurlyQuotes(const std::string& name) { return "\u201C" + name + "\u201D"; }

std::filesystem::path homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir) return entry->pw_dir;
    return std::filesystem::current_path();
}

// The item with that id anywhere in the workspace, with the id of its collection.
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

// The collection with that id, as a pointer of the workspace's constness.
template <class AnyWorkspace>
auto findCollection(AnyWorkspace& workspace, const Uuid& id) -> decltype(&workspace.collections.front()) {
    const auto found = std::find_if(workspace.collections.begin(), workspace.collections.end(),
                                    [&](const APICollection& collection) { return collection.id == id; });
    return found == workspace.collections.end() ? nullptr : &*found;
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

}  // namespace

std::filesystem::path WorkspaceStore::defaultFolder() {
#ifdef __APPLE__
    return homeFolder() / "Library" / "Application Support" / "Tessaline";
#else
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data) return std::filesystem::path(data) / "Tessaline";
    return homeFolder() / ".local" / "share" / "Tessaline";
#endif
}

WorkspaceStore::WorkspaceStore(std::filesystem::path folderPath, Clock now)
    : folder(std::move(folderPath)),
      clock(std::move(now)),
      history(folder / "history"),
      archive(folder / "versions"),
      tokens(folder / OAuth2TokenCache::fileName) {
    std::error_code ignored;
    std::filesystem::create_directories(folder / "history", ignored);
}

WorkspaceStore::~WorkspaceStore() {
    Lock lock(mutex);
    // A store that was never used still leaves a new folder with the sample; an existing
    // workspace file is left to the next session rather than read just before exiting.
    std::error_code ignored;
    if (!opened && !std::filesystem::exists(workspaceFileURL(), ignored)) open();
    if (pendingSave) saveNow();
}

std::unique_lock<std::recursive_mutex> WorkspaceStore::access() const {
    std::unique_lock lock(mutex);
    // Loading completes the construction, so a reader may do it too.
    if (!opened) const_cast<WorkspaceStore*>(this)->open();
    return lock;
}

// Called once, under the store's lock, by the first member that needs the files; what it
// calls sees the store as open.
void WorkspaceStore::open() {
    opened = true;
    std::error_code ignored;
    const bool fileExists = std::filesystem::exists(workspaceFileURL(), ignored);
    try {
        std::string bytes = atomicFile::read(workspaceFileURL());
        live = decodeWorkspace(bytes);
        noteFileState(std::move(bytes));
    } catch (const Error&) {
        live = Workspace{};
    }
    if (live.collections.empty() && live.environments.empty() && !fileExists) {
        live = sampleWorkspace::starterWorkspace();
        scheduleSave();
    } else {
        // An untouched sample from an earlier release becomes the current one.
        const bool migrated = sampleWorkspace::migrateLegacyStarterIfNeeded(live);
        if (sampleWorkspace::resetStarterIfOutdated(live) || migrated) scheduleSave();
    }
    // Thinning loads the calendar and time zone data, which the caller need not wait for.
    // Snapshots are only ever added as the newest, which thinning keeps, so it needs no lock.
    background.post([this, now = clock()] { archive.prune(now); });
}

// Reading

Workspace WorkspaceStore::workspace() const {
    const auto lock = access();
    return live;
}

std::optional<APIEnvironment> WorkspaceStore::activeEnvironment() const {
    const auto lock = access();
    const auto* environment = live.activeEnvironment();
    return environment ? std::optional(*environment) : std::nullopt;
}

std::optional<APIRequest> WorkspaceStore::request(const Uuid& id) const {
    const auto lock = access();
    for (const auto& collection : live.collections) {
        if (auto found = itemTree::firstRequest(collection.items, id)) return found;
    }
    return std::nullopt;
}

std::optional<APICollection> WorkspaceStore::collection(const Uuid& id) const {
    const auto lock = access();
    for (const auto& collection : live.collections) {
        if (collection.id == id) return collection;
    }
    return std::nullopt;
}

std::optional<APICollection> WorkspaceStore::collectionContaining(const Uuid& requestID) const {
    const auto lock = access();
    for (const auto& collection : live.collections) {
        if (itemTree::containsRequest(collection.items, requestID)) return collection;
    }
    return std::nullopt;
}

std::optional<std::pair<Folder, Uuid>> WorkspaceStore::folderWithCollection(const Uuid& id) const {
    const auto lock = access();
    for (const auto& collection : live.collections) {
        if (auto found = itemTree::firstFolder(collection.items, id)) return std::pair(std::move(*found), collection.id);
    }
    return std::nullopt;
}

VariableResolver WorkspaceStore::resolver(const APIRequest& request, const std::optional<APIEnvironment>& environment) {
    return resolver(collectionContaining(request.id), environment);
}

VariableResolver WorkspaceStore::resolver(const std::optional<APICollection>& collection,
                                          const std::optional<APIEnvironment>& environment) {
    const auto lock = access();
    VariableResolver result;
    result.now = clock;
    if (environment) {
        result.scopes.push_back(environment->variables);
    } else if (const auto* active = live.activeEnvironment()) {
        result.scopes.push_back(active->variables);
    }
    if (collection) {
        result.scopes.push_back(collection->effectiveVariables());
        result.responseLookup = [this, items = collection->items](const std::string& name) -> std::optional<StoredResponse> {
            const auto named = itemTree::firstRequestNamed(items, name);
            if (!named) return std::nullopt;
            for (const auto& response : responses(named->id)) {
                if (!response.error) return response;
            }
            return std::nullopt;
        };
    }
    return result;
}

std::vector<StoredResponse> WorkspaceStore::responses(const Uuid& requestID) {
    const auto lock = access();
    return history.responses(requestID);
}

std::optional<StoredResponse> WorkspaceStore::cachedLatestResponse(const Uuid& requestID) const {
    const auto lock = access();
    return history.cachedLatest(requestID);
}

std::optional<std::string> WorkspaceStore::lastError() const {
    const auto lock = access();
    return error;
}

std::vector<WorkspaceVersion> WorkspaceStore::versions() const {
    const auto lock = access();
    return archive.list();
}

int WorkspaceStore::versionsRevision() const {
    const auto lock = access();
    return revision;
}

bool WorkspaceStore::canUndo() const {
    const auto lock = access();
    return undoHistory.canUndo();
}

bool WorkspaceStore::canRedo() const {
    const auto lock = access();
    return undoHistory.canRedo();
}

std::optional<std::string> WorkspaceStore::undoLabel() const {
    const auto lock = access();
    return undoHistory.undoLabel();
}

std::optional<std::string> WorkspaceStore::redoLabel() const {
    const auto lock = access();
    return undoHistory.redoLabel();
}

// Edits

void WorkspaceStore::checkpoint(const std::string& label, const std::optional<std::string>& coalescingKey) {
    if (grouping) return;
    const Date now = clock();
    if (undoHistory.coalesces(coalescingKey, now)) return;
    if (!lastVersionAt || now - *lastVersionAt >= autoVersionInterval) snapshotVersion("Autosave");
    undoHistory.push({live, label}, coalescingKey, now);
}

void WorkspaceStore::edit(const std::string& label, const std::optional<std::string>& coalescingKey,
                          const std::function<void(Workspace&)>& change) {
    const auto lock = access();
    checkpoint(label, coalescingKey);
    change(live);
    scheduleSave();
}

void WorkspaceStore::addCollection(APICollection collection) {
    edit("New Collection", std::nullopt, [&](Workspace& w) { w.collections.push_back(std::move(collection)); });
}

void WorkspaceStore::update(const APICollection& collection) {
    const auto lock = access();
    if (!findCollection(live, collection.id)) return;
    edit("Edit " + inCurlyQuotes(collection.name), "collection-" + collection.id.text(),
         [&](Workspace& w) { *findCollection(w, collection.id) = collection; });
}

void WorkspaceStore::addEnvironment(APIEnvironment environment) {
    edit("New Environment", std::nullopt, [&](Workspace& w) { w.environments.push_back(std::move(environment)); });
}

void WorkspaceStore::update(const APIEnvironment& environment) {
    const auto lock = access();
    const auto matches = [&](const APIEnvironment& e) { return e.id == environment.id; };
    if (std::none_of(live.environments.begin(), live.environments.end(), matches)) return;
    edit("Edit " + inCurlyQuotes(environment.name), "environment-" + environment.id.text(), [&](Workspace& w) {
        *std::find_if(w.environments.begin(), w.environments.end(), matches) = environment;
    });
}

void WorkspaceStore::deleteEnvironment(const Uuid& id) {
    const auto lock = access();
    const auto matches = [&](const APIEnvironment& e) { return e.id == id; };
    const auto found = std::find_if(live.environments.begin(), live.environments.end(), matches);
    if (found == live.environments.end()) return;
    const std::string name = found->name;
    snapshotVersion("Before deleting " + inCurlyQuotes(name));
    edit("Delete " + inCurlyQuotes(name), std::nullopt, [&](Workspace& w) { std::erase_if(w.environments, matches); });
}

void WorkspaceStore::setActiveEnvironment(const std::optional<Uuid>& id) {
    edit("Switch Environment", std::nullopt, [&](Workspace& w) { w.activeEnvironmentID = id; });
}

void WorkspaceStore::addRequest(APIRequest request, const Uuid& collectionID, const std::optional<Uuid>& folderID) {
    const auto lock = access();
    if (!findCollection(live, collectionID)) return;
    edit("New Request", std::nullopt, [&](Workspace& w) {
        itemTree::insertIntoFolder(findCollection(w, collectionID)->items, std::move(request), folderID);
    });
}

void WorkspaceStore::addFolder(Folder newFolder, const Uuid& collectionID, const std::optional<Uuid>& folderID) {
    const auto lock = access();
    if (!findCollection(live, collectionID)) return;
    edit("New Folder", std::nullopt, [&](Workspace& w) {
        itemTree::insertIntoFolder(findCollection(w, collectionID)->items, std::move(newFolder), folderID);
    });
}

void WorkspaceStore::update(const APIRequest& request) {
    const auto lock = access();
    const auto old = this->request(request.id);
    if (!old) return;
    const bool renamed = old->name != request.name;
    edit((renamed ? "Rename " : "Edit ") + inCurlyQuotes(request.name),
         renamed ? std::nullopt : std::optional("request-" + request.id.text()), [&](Workspace& w) {
             for (auto& collection : w.collections) {
                 if (itemTree::replaceRequest(collection.items, request)) return;
             }
         });
}

void WorkspaceStore::deleteItem(const Uuid& id) {
    const auto lock = access();
    const auto item = findItem(live, id);
    if (!item) return;
    const std::string name = item->first.name();
    snapshotVersion("Before deleting " + inCurlyQuotes(name));
    edit("Delete " + inCurlyQuotes(name), std::nullopt, [&](Workspace& w) {
        for (auto& collection : w.collections) itemTree::remove(collection.items, id);
    });
}

void WorkspaceStore::renameFolder(const Uuid& id, const std::string& name) {
    const auto lock = access();
    if (!findItem(live, id)) return;
    edit("Rename " + inCurlyQuotes(name), std::nullopt, [&](Workspace& w) {
        for (auto& collection : w.collections) itemTree::renameFolder(collection.items, id, name);
    });
}

std::optional<APIRequest> WorkspaceStore::duplicateRequest(const Uuid& id) {
    const auto lock = access();
    auto copy = request(id);
    if (!copy) return std::nullopt;
    const std::string label = "Duplicate " + inCurlyQuotes(copy->name);
    copy->id = Uuid::random();
    copy->name += " copy";
    edit(label, std::nullopt, [&](Workspace& w) {
        for (auto& collection : w.collections) {
            if (insertAfter(collection.items, id, *copy)) return;
        }
    });
    return copy;
}

void WorkspaceStore::move(const Uuid& itemID, const Uuid& collectionID, const std::optional<Uuid>& folderID) {
    const auto lock = access();
    const auto item = findItem(live, itemID);
    if (!item || !findCollection(live, collectionID)) return;
    // A folder cannot go into itself or anything inside it.
    const auto inside = item->first.nestedIDs();
    if (folderID && (*folderID == itemID || std::find(inside.begin(), inside.end(), *folderID) != inside.end())) return;
    if (folderID && !itemTree::firstFolder(findCollection(live, collectionID)->items, *folderID)) return;
    edit("Move", std::nullopt, [&](Workspace& w) {
        for (auto& collection : w.collections) itemTree::remove(collection.items, itemID);
        itemTree::insertIntoFolder(findCollection(w, collectionID)->items, item->first, folderID);
    });
}

void WorkspaceStore::group(const std::string& label, const std::function<void()>& body) {
    const auto lock = access();
    Workspace before = live;
    const bool outermost = !grouping;
    grouping = true;
    try {
        body();
    } catch (...) {
        grouping = !outermost;
        throw;
    }
    grouping = !outermost;
    // The step holds the state before the whole group, so that one undo reverts all of it.
    if (outermost && before != live) {
        std::swap(before, live);
        checkpoint(label);
        std::swap(before, live);
    }
}

void WorkspaceStore::replaceLive(Workspace workspace) {
    live = std::move(workspace);
    scheduleSave();
    history.reloadAll(allRequestIDs());
}

void WorkspaceStore::undo() {
    const auto lock = access();
    if (auto previous = undoHistory.undo(live)) replaceLive(std::move(*previous));
}

void WorkspaceStore::redo() {
    const auto lock = access();
    if (auto next = undoHistory.redo(live)) replaceLive(std::move(*next));
}

// Versions

void WorkspaceStore::snapshotVersion(const std::string& reason) {
    const auto lock = access();
    const Date now = clock();
    if (archive.save(encodeWorkspace(live), reason, now)) {
        lastVersionAt = now;
        lastVersionWorkspace = live;
        ++revision;
    }
}

void WorkspaceStore::snapshotVersionIfEdited(const Uuid& requestID) {
    const auto lock = access();
    const auto current = request(requestID);
    if (!current) return;
    std::optional<APIRequest> before;
    if (lastVersionWorkspace) {
        for (const auto& collection : lastVersionWorkspace->collections) {
            if ((before = itemTree::firstRequest(collection.items, requestID))) break;
        }
    }
    if (before != current) snapshotVersion("Edited " + inCurlyQuotes(current->name));
}

void WorkspaceStore::restore(const WorkspaceVersion& version) {
    const auto lock = access();
    Workspace restored = archive.load(version);
    snapshotVersion("Before restoring a version");
    checkpoint("Restore Version");
    replaceLive(std::move(restored));
    saveNow();
}

void WorkspaceStore::restore(const APIRequest& request) {
    const auto lock = access();
    if (!this->request(request.id)) return;
    snapshotVersion("Before restoring " + inCurlyQuotes(request.name));
    checkpoint("Restore " + inCurlyQuotes(request.name));
    for (auto& collection : live.collections) {
        if (itemTree::replaceRequest(collection.items, request)) break;
    }
    scheduleSave();
}

void WorkspaceStore::restore(const WorkspaceChange& change, const Workspace& from) {
    const auto lock = access();
    snapshotVersion("Before restoring " + inCurlyQuotes(change.name));
    checkpoint("Restore " + inCurlyQuotes(change.name));
    const Uuid& id = change.entityID;
    switch (change.entity) {
        case WorkspaceChange::Entity::collection: {
            const auto old = std::find_if(from.collections.begin(), from.collections.end(),
                                          [&](const APICollection& c) { return c.id == id; });
            APICollection* current = findCollection(live, id);
            if (old == from.collections.end()) {
                std::erase_if(live.collections, [&](const APICollection& c) { return c.id == id; });
            } else if (current) {
                *current = *old;
            } else {
                live.collections.push_back(*old);
            }
            break;
        }
        case WorkspaceChange::Entity::folder:
        case WorkspaceChange::Entity::request: {
            for (auto& collection : live.collections) itemTree::remove(collection.items, id);
            // Back where it stood: in its old folder if that still exists, else at the top
            // level of its old collection.
            const auto old = findItem(from, id);
            if (!old) break;
            APICollection* target = findCollection(live, old->second);
            if (!target) break;
            const auto& oldItems = findCollection(from, old->second)->items;
            auto parent = parentFolder(oldItems, id);
            if (parent && !itemTree::firstFolder(target->items, *parent)) parent.reset();
            itemTree::insertIntoFolder(target->items, old->first, parent);
            break;
        }
        case WorkspaceChange::Entity::environment: {
            const auto matches = [&](const APIEnvironment& e) { return e.id == id; };
            const auto old = std::find_if(from.environments.begin(), from.environments.end(), matches);
            const auto current = std::find_if(live.environments.begin(), live.environments.end(), matches);
            if (old == from.environments.end()) {
                std::erase_if(live.environments, matches);
            } else if (current != live.environments.end()) {
                *current = *old;
            } else {
                live.environments.push_back(*old);
            }
            break;
        }
    }
    scheduleSave();
}

// Persistence

void WorkspaceStore::scheduleSave() {
    const auto lock = access();
    if (pendingSave) background.cancel(*pendingSave);
    pendingSave = background.post([this] { saveNow(); }, saveDelay);
}

void WorkspaceStore::saveNow() {
    const auto lock = access();
    if (pendingSave) background.cancel(*pendingSave);
    pendingSave.reset();
    try {
        std::string bytes = encodeWorkspace(live);
        atomicFile::write(workspaceFileURL(), bytes);
        noteFileState(std::move(bytes));
        error.reset();
    } catch (const std::exception& failure) {
        error = std::string("Couldn't save workspace: ") + failure.what();
    }
}

void WorkspaceStore::noteFileState(std::string bytes) {
    lastWrittenData = std::move(bytes);
    watchedStamp = FileStamp::of(workspaceFileURL());
    watchedStampRacy = !watchedStamp || std::chrono::system_clock::now() - watchedStamp->modified < racyWindow;
}

void WorkspaceStore::reloadIfChanged() {
    Lock lock(mutex);
    if (!opened) return;  // loading will read the files as they are then
    const auto stamp = FileStamp::of(workspaceFileURL());
    if (stamp != watchedStamp || watchedStampRacy) {
        watchedStamp = stamp;
        watchedStampRacy = !stamp || std::chrono::system_clock::now() - stamp->modified < racyWindow;
        std::optional<std::string> bytes;
        try {
            if (stamp) bytes = atomicFile::read(workspaceFileURL());
        } catch (const Error&) {
        }
        if (bytes && bytes != lastWrittenData) {
            try {
                Workspace changed = decodeWorkspace(*bytes);
                snapshotVersion("Before external change");
                undoHistory.push({live, "External Change"}, std::nullopt, clock());
                live = std::move(changed);
                lastWrittenData = std::move(bytes);
                history.reloadAll(allRequestIDs());
            } catch (const Error&) {
                // Half-written by the other process, or damaged: keep what we have.
            }
        }
    }
    history.reloadChanged();
}

void WorkspaceStore::watchTick() {
    reloadIfChanged();
    background.post([this] { watchTick(); }, watchInterval);
}

void WorkspaceStore::startWatching() {
    const auto lock = access();
    if (watching) return;
    watching = true;
    background.post([this] { watchTick(); }, watchInterval);
}

void WorkspaceStore::record(const StoredResponse& response) {
    const auto lock = access();
    std::string bytes = history.record(response);
    background.post([this, id = response.requestID, bytes = std::move(bytes)] {
        Lock inner(mutex);
        history.write(id, bytes);
    });
}

void WorkspaceStore::recordAndFlush(const StoredResponse& response) {
    const auto lock = access();
    history.write(response.requestID, history.record(response));
}

void WorkspaceStore::clearHistory(const Uuid& requestID) {
    const auto lock = access();
    history.clear(requestID);
}

void WorkspaceStore::preloadHistory() {
    const auto lock = access();
    history.reloadAll(allRequestIDs());
}

void WorkspaceStore::pruneOrphanedHistory(std::chrono::seconds age) {
    const auto lock = access();
    const auto ids = allRequestIDs();
    history.pruneOrphaned(std::unordered_set<Uuid>(ids.begin(), ids.end()), age, clock());
}

std::vector<Uuid> WorkspaceStore::allRequestIDs() const {
    std::vector<Uuid> ids;
    for (const auto& collection : live.collections) {
        for (const auto& request : itemTree::allRequests(collection.items)) ids.push_back(request.id);
    }
    return ids;
}

}  // namespace tessaline
