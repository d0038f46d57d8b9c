#pragma once

#include "core/storage/WorkspaceStore.hpp"
#include "core/support/SerialQueue.hpp"
#include "desktop/editing/UndoHistory.hpp"
#include "desktop/editing/WorkspaceChange.hpp"

#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace tessaline {

// The editing layer a desktop client puts over a WorkspaceStore: every edit records an undo
// step and schedules a save saveDelay after the last edit of a burst; a repeating watch takes
// in what the other process writes; versions and single changes can be restored.
//
// All members may be called from any thread: one mutex guards the store and the undo
// history, and the background thread that runs timed saves, watching and history writes
// takes it too.
class WorkspaceEditor {
public:
    static constexpr std::size_t undoLimit = UndoHistory::undoLimit;
    static constexpr std::chrono::milliseconds saveDelay{400};
    static constexpr std::chrono::seconds watchInterval{1};

    explicit WorkspaceEditor(std::filesystem::path folderPath, Clock now = systemClock());
    // Writes a save that is still waiting for its delay.
    ~WorkspaceEditor();
    WorkspaceEditor(const WorkspaceEditor&) = delete;
    WorkspaceEditor& operator=(const WorkspaceEditor&) = delete;

    // Calls `reader` with the store under the lock; the reference must not outlive the call.
    template <typename Reader>
    auto read(Reader&& reader) {
        const std::lock_guard lock(mutex);
        return reader(store);
    }
    Workspace workspace();
    std::optional<APIRequest> request(const Uuid& id);
    std::vector<WorkspaceVersion> versions();
    // The last save failure, until a save succeeds.
    std::optional<std::string> lastError();
    bool canUndo();
    bool canRedo();
    std::optional<std::string> undoLabel();
    std::optional<std::string> redoLabel();

    // Edits. Each records an undo step, then schedules a save.
    void addCollection(const APICollection& collection);
    void update(const APICollection& collection);
    void addEnvironment(const APIEnvironment& environment);
    void update(const APIEnvironment& environment);
    void deleteEnvironment(const Uuid& id);
    void setActiveEnvironment(const std::optional<Uuid>& id);
    void addRequest(const APIRequest& request, const Uuid& collectionID, const std::optional<Uuid>& folderID);
    void addFolder(const Folder& folder, const Uuid& collectionID, const std::optional<Uuid>& folderID);
    void update(const APIRequest& request);
    void deleteItem(const Uuid& id);
    void renameFolder(const Uuid& id, const std::string& name);
    // The copy ("<name> copy", a new id), placed right after the original.
    std::optional<APIRequest> duplicateRequest(const Uuid& id);
    void move(const Uuid& itemID, const Uuid& collectionID, const std::optional<Uuid>& folderID);
    // Runs `body` (any number of edits, made from this thread) as one undo step named `label`.
    void group(const std::string& label, const std::function<void()>& body);
    void undo();
    void redo();

    // Versions. restore(version) throws the version's decoding error.
    void restore(const WorkspaceVersion& version);
    void restore(const WorkspaceChange& change, const Workspace& from);
    void restore(const APIRequest& request);
    void snapshotVersion(const std::string& reason);
    void snapshotVersionIfEdited(const Uuid& requestID);

    // Persistence.
    void scheduleSave();
    SaveReport saveNow();
    void reloadIfChanged();
    // Calls reloadIfChanged every watchInterval on the background thread.
    void startWatching();
    // Records a response; its history file is written on the background thread.
    void record(const StoredResponse& response);

private:
    using Lock = std::lock_guard<std::mutex>;

    // The parts below expect the lock to be held.
    void checkpoint(const std::string& label, const std::optional<std::string>& coalescingKey = std::nullopt);
    // checkpoint, then `change` the store, then schedule a save.
    void edit(const std::string& label, const std::optional<std::string>& coalescingKey,
              const std::function<void()>& change);
    void replaceLive(const Workspace& workspace);
    void scheduleSaveLocked();
    SaveReport saveLocked();
    void watchTick();

    Clock clock;
    std::mutex mutex;
    // State below is guarded by mutex.
    WorkspaceStore store;
    UndoHistory undoHistory;
    bool grouping = false;
    std::optional<std::string> error;
    std::optional<SerialQueue::Ticket> pendingSave;
    bool watching = false;
    // Last, so that its thread stops before the state its tasks use goes away.
    SerialQueue background;
};

}  // namespace tessaline
