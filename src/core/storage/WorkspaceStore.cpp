#include "core/storage/WorkspaceStore.hpp"

#include "core/model/ItemTree.hpp"
#include "core/model/WorkspaceCoding.hpp"
#include "core/storage/SampleWorkspace.hpp"
#include "core/storage/SnapshotName.hpp"
#include "core/support/AtomicFile.hpp"
#include "core/support/CurlyQuoted.hpp"
#include "core/support/FindByID.hpp"
#include "core/support/Platform.hpp"

#include <algorithm>

namespace tessaline {

namespace {

// The name of a request or folder anywhere in the workspace.
std::optional<std::string> itemName(const Workspace& workspace, const Uuid& id) {
    for (const auto& collection : workspace.collections) {
        if (auto request = itemTree::firstRequest(collection.items, id)) return request->name;
        if (auto folder = itemTree::firstFolder(collection.items, id)) return folder->name;
    }
    return std::nullopt;
}

// Where the bytes of a workspace file that could not be read are kept: beside it, under a
// name that says what it is and when it was set aside.
std::string unreadableCopyName(Date now) {
    const std::string snapshot = snapshotName::make(now, "");
    return "workspace-unreadable-" + snapshot.substr(0, snapshot.find('~')) + ".json";
}

// Rounds of taking in what another process wrote during a save and saving again, before its
// write is kept only as a snapshot.
constexpr int writeRounds = 12;
// How long a workspace file that does not decode may take to change, as one that another
// process is writing in place does, before it counts as unreadable; and how often that is
// waited for.
constexpr std::chrono::milliseconds writerPause{40};
constexpr int settlingLooks = 5;

std::optional<Workspace> decodedOverwritten(const std::string& bytes) {
    try {
        return decodeWorkspace(bytes);
    } catch (const Error&) {
        return std::nullopt;
    }
}

}  // namespace

std::filesystem::path WorkspaceStore::defaultFolder() { return platform::userDataFolder() / "Tessaline"; }

WorkspaceStore::WorkspaceStore(std::filesystem::path folderPath, Clock now)
    : folder(std::move(folderPath)),
      clock(std::move(now)),
      file(folder / "workspace.json", clock),
      history(folder / "history", clock),
      archive(folder / "versions"),
      tokens(folder / OAuth2TokenCache::fileName) {
    try {
        atomicFile::createFolders(folder / "history");
    } catch (const Error&) {
        // A folder that cannot be made shows up as a failed save, which is reported.
    }
}

WorkspaceStore::~WorkspaceStore() {
    // A store that was never used still leaves a new folder with the sample; an existing
    // workspace file is left to the next session rather than read just before exiting.
    std::error_code ignored;
    if (!opened && !std::filesystem::exists(workspaceFilePath(), ignored)) open();
}

Workspace& WorkspaceStore::loaded() {
    if (!opened) open();
    return live;
}

// Called once, by the first member that needs the files.
void WorkspaceStore::open() {
    opened = true;
    for (const auto& place : {folder, folder / "history", archive.folder()}) atomicFile::removeStaleTemporaries(place);
    archive.prune(clock());
    const auto& content = file.read();
    if (!content.bytes && !content.failure) {
        live = sampleWorkspace::starterWorkspace();
        unsaved.push_back([sample = live](Workspace& w) { w = sample; });
        saveNow();
        return;
    }
    if (auto decoded = decodedFile(content)) live = std::move(*decoded);
    // An untouched sample from an earlier release becomes the current one.
    const bool migrated = sampleWorkspace::migrateLegacyStarterIfNeeded(live);
    if (sampleWorkspace::resetStarterIfOutdated(live) || migrated) {
        unsaved.push_back([current = live](Workspace& w) { w = current; });
        saveNow();
    }
}

// The workspace the file holds. A file that cannot be read or decoded is remembered, so
// that saves keep or spare it; a missing one is simply written again by the next save.
std::optional<Workspace> WorkspaceStore::decodedFile(WatchedFile::Content content) {
    for (int look = 1;; ++look) {
        if (!content.bytes) {
            unreadable.reset();
            if (content.failure) unreadable = Unreadable{*content.failure, std::nullopt};
            return std::nullopt;
        }
        try {
            auto decoded = decodeWorkspace(*content.bytes);
            unreadable.reset();
            return decoded;
        } catch (const Error& error) {
            // Another process may be half-way through writing the file in place.
            if (look < settlingLooks) {
                if (auto newer = file.changeWithin(writerPause)) {
                    content = std::move(*newer);
                    continue;
                }
            }
            unreadable = Unreadable{"workspace.json could not be read: " + std::string(error.what()), content.bytes};
            return std::nullopt;
        }
    }
}

// Adopts what another process wrote, as the loop does before every line.
std::optional<Workspace> WorkspaceStore::takeIn(const WatchedFile::Content& content) {
    auto theirs = decodedFile(content);
    if (!theirs) return std::nullopt;
    return adopt(std::move(*theirs));
}

std::optional<Workspace> WorkspaceStore::adopt(Workspace theirs) {
    if (theirs == live) return std::nullopt;
    if (saving) {
        replacedDuringSave.emplace_back(clock(), live);
    } else {
        snapshotVersion("Before external change");
    }
    Workspace before = std::exchange(live, std::move(theirs));
    for (const auto& change : unsaved) change(live);
    history.reloadAll(allRequestIDs());
    return before;
}

// Reading

Workspace WorkspaceStore::workspace() { return loaded(); }

std::optional<APIEnvironment> WorkspaceStore::activeEnvironment() {
    const auto* environment = loaded().activeEnvironment();
    return environment ? std::optional(*environment) : std::nullopt;
}

std::optional<APIRequest> WorkspaceStore::request(const Uuid& id) {
    for (const auto& collection : loaded().collections) {
        if (auto found = itemTree::firstRequest(collection.items, id)) return found;
    }
    return std::nullopt;
}

std::optional<APICollection> WorkspaceStore::collection(const Uuid& id) {
    const auto* found = findByID(loaded().collections, id);
    return found ? std::optional(*found) : std::nullopt;
}

std::optional<APICollection> WorkspaceStore::collectionContaining(const Uuid& requestID) {
    for (const auto& collection : loaded().collections) {
        if (itemTree::containsRequest(collection.items, requestID)) return collection;
    }
    return std::nullopt;
}

VariableResolver WorkspaceStore::resolver(const APIRequest& request, const std::optional<APIEnvironment>& environment) {
    return resolver(collectionContaining(request.id), environment);
}

VariableResolver WorkspaceStore::resolver(const std::optional<APICollection>& collection,
                                          const std::optional<APIEnvironment>& environment) {
    VariableResolver result;
    result.now = clock;
    if (environment) {
        result.scopes.push_back(environment->variables);
    } else if (const auto* active = loaded().activeEnvironment()) {
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
    loaded();
    return history.responses(requestID);
}

// Edits

void WorkspaceStore::edit(std::function<void(Workspace&)> change) {
    Workspace& workspace = loaded();
    const Date now = clock();
    if (!lastVersionAt || now - *lastVersionAt >= autoVersionInterval) snapshotVersion("Autosave");
    change(workspace);
    unsaved.push_back(std::move(change));
}

void WorkspaceStore::addCollection(const APICollection& collection) {
    edit([collection](Workspace& w) { w.collections.push_back(collection); });
}

void WorkspaceStore::update(const APICollection& collection) {
    edit([collection](Workspace& w) {
        if (auto* found = findByID(w.collections, collection.id)) *found = collection;
    });
}

void WorkspaceStore::addEnvironment(const APIEnvironment& environment) {
    edit([environment](Workspace& w) { w.environments.push_back(environment); });
}

void WorkspaceStore::update(const APIEnvironment& environment) {
    edit([environment](Workspace& w) {
        if (auto* found = findByID(w.environments, environment.id)) *found = environment;
    });
}

void WorkspaceStore::setActiveEnvironment(const std::optional<Uuid>& id) {
    edit([id](Workspace& w) { w.activeEnvironmentID = id; });
}

void WorkspaceStore::addRequest(const APIRequest& request, const Uuid& collectionID, const std::optional<Uuid>& folderID) {
    edit([request, collectionID, folderID](Workspace& w) {
        if (auto* collection = findByID(w.collections, collectionID)) itemTree::insertIntoFolder(collection->items, request, folderID);
    });
}

void WorkspaceStore::addFolder(const Folder& newFolder, const Uuid& collectionID, const std::optional<Uuid>& folderID) {
    edit([newFolder, collectionID, folderID](Workspace& w) {
        if (auto* collection = findByID(w.collections, collectionID)) itemTree::insertIntoFolder(collection->items, newFolder, folderID);
    });
}

void WorkspaceStore::update(const APIRequest& request) {
    edit([request](Workspace& w) {
        for (auto& collection : w.collections) {
            if (itemTree::replaceRequest(collection.items, request)) return;
        }
    });
}

void WorkspaceStore::deleteItem(const Uuid& id) {
    const auto name = itemName(loaded(), id);
    if (!name) return;
    snapshotVersion("Before deleting " + curlyQuoted(*name));
    edit([id](Workspace& w) {
        for (auto& collection : w.collections) itemTree::remove(collection.items, id);
    });
}

bool WorkspaceStore::snapshotVersion(const std::string& reason) { return snapshot(loaded(), reason, clock()); }

bool WorkspaceStore::snapshot(const Workspace& state, const std::string& reason, Date date) {
    if (!archive.save(encodeWorkspace(state), reason, date)) return false;
    lastVersionAt = date;
    lastVersion = state;
    return true;
}

// Persistence

SaveReport WorkspaceStore::saveNow() {
    loaded();
    saving = true;
    const SaveReport report = saveInRounds();
    saving = false;
    for (const auto& [date, state] : std::exchange(replacedDuringSave, {})) snapshot(state, "Before external change", date);
    history.writeUnwritten();
    return report;
}

SaveReport WorkspaceStore::saveInRounds() {
    SaveReport report;
    std::optional<std::string> kept;  // the unreadable bytes copied by this save
    for (int round = 1; round <= writeRounds; ++round) {
        if (const auto outside = file.change()) takeIn(*outside);
        if (unreadable && !unreadable->bytes) return {.failure = "Couldn't save workspace: " + unreadable->reason};
        try {
            if (unreadable && unreadable->bytes != kept) {
                report.notice = keepUnreadable(*unreadable->bytes);
                kept = unreadable->bytes;
            }
            if (wroteFile(round == writeRounds)) break;
        } catch (const std::exception& failure) {
            return {.failure = std::string("Couldn't save workspace: ") + failure.what()};
        }
    }
    unreadable.reset();
    unsaved.clear();
    return report;
}

bool WorkspaceStore::wroteFile(bool lastRound) {
    const std::string bytes = encodeWorkspace(live);
    std::optional<std::string> overwritten;
    if (lastRound) {
        overwritten = file.write(bytes);
    } else {
        auto outcome = file.writeUnlessChanged(bytes);
        if (!outcome.done) return false;
        overwritten = std::move(outcome.replaced);
    }
    if (!overwritten) return true;
    // Another process wrote between the last look and the replacement.
    if (auto theirs = lastRound ? std::nullopt : decodedOverwritten(*overwritten)) {
        adopt(std::move(*theirs));
        return false;
    }
    archive.save(*overwritten, "Overwritten external change", clock());
    return true;
}

std::string WorkspaceStore::keepUnreadable(const std::string& bytes) {
    const std::string name = unreadableCopyName(clock());
    atomicFile::write(folder / name, bytes);
    return "Note: " + unreadable->reason + "\nIts content was kept in " + name + " before this save replaced workspace.json.";
}

std::optional<Workspace> WorkspaceStore::reloadIfChanged() {
    if (!opened) return std::nullopt;  // loading will read the files as they are then
    std::optional<Workspace> before;
    if (const auto content = file.change()) before = takeIn(*content);
    history.reloadChanged();
    return before;
}

SaveReport WorkspaceStore::recordAndFlush(const StoredResponse& response) {
    loaded();
    return {.failure = history.record(response)};
}

void WorkspaceStore::preloadHistory() { history.reloadAll(allRequestIDs()); }

std::vector<Uuid> WorkspaceStore::allRequestIDs() {
    std::vector<Uuid> ids;
    for (const auto& collection : loaded().collections) {
        for (const auto& request : itemTree::allRequests(collection.items)) ids.push_back(request.id);
    }
    return ids;
}

}  // namespace tessaline
