#pragma once

#include "model/Workspace.hpp"
#include "model/StoredResponse.hpp"
#include "oauth/OAuth2Service.hpp"
#include "oauth/OAuth2TokenCache.hpp"
#include "pipeline/VariableResolver.hpp"
#include "storage/ResponseHistory.hpp"
#include "storage/UndoHistory.hpp"
#include "storage/VersionArchive.hpp"
#include "storage/WorkspaceDiff.hpp"
#include "support/Clock.hpp"
#include "support/FileStamp.hpp"
#include "support/SerialQueue.hpp"

#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessaline {

// The one owner of a workspace folder's live state: the workspace, the recorded responses
// of each request, the undo history and the version archive. The desktop client and the
// server each open the folder with their own store, so the store notices what the other
// process writes (reloadIfChanged) and never takes its own writes for the other's.
//
// Every edit records an undo step and schedules a save 400 ms later; the server saves at
// once with saveNow(). Readers get copies. All members may be called from any thread: one
// mutex guards the state, and the background thread that runs timed saves, watching and
// history writes takes it too.
//
// The folder's files are loaded when a member first needs them, not when the store is
// created: a host's handshake, which needs no workspace, is answered without waiting for
// the disk.
class WorkspaceStore {
public:
    static constexpr std::size_t historyLimit = ResponseHistory::historyLimit;
    static constexpr std::size_t undoLimit = UndoHistory::undoLimit;
    static constexpr std::chrono::seconds autoVersionInterval{600};
    static constexpr std::chrono::milliseconds saveDelay{400};
    static constexpr std::chrono::seconds watchInterval{1};

    // "Tessaline" in the user's data folder: ~/Library/Application Support on macOS,
    // $XDG_DATA_HOME (or ~/.local/share) elsewhere.
    static std::filesystem::path defaultFolder();

    // Creates the folder; its files are loaded on first use. A workspace file that exists but
    // does not decode is left alone and an empty workspace is used; a folder without one gets
    // the sample.
    explicit WorkspaceStore(std::filesystem::path folderPath, Clock now = systemClock());
    // Writes a save that is still waiting for its delay, and the sample into a new folder
    // that was never used.
    ~WorkspaceStore();
    WorkspaceStore(const WorkspaceStore&) = delete;
    WorkspaceStore& operator=(const WorkspaceStore&) = delete;

    const std::filesystem::path& folderPath() const { return folder; }
    std::filesystem::path workspaceFileURL() const { return folder / "workspace.json"; }

    // Reading.
    Workspace workspace() const;
    // Calls `reader` with the live workspace under the store's lock, for reads that would
    // rather not copy it; the reference must not outlive the call.
    template <typename Reader>
    auto read(Reader&& reader) const {
        const auto lock = access();
        return reader(static_cast<const Workspace&>(live));
    }
    std::optional<APIEnvironment> activeEnvironment() const;
    std::optional<APIRequest> request(const Uuid& id) const;
    std::optional<APICollection> collection(const Uuid& id) const;
    std::optional<APICollection> collectionContaining(const Uuid& requestID) const;
    // The folder with the id of the collection that holds it.
    std::optional<std::pair<Folder, Uuid>> folderWithCollection(const Uuid& id) const;
    // The variables a saved request sees: the environment (the active one unless another is
    // given), then its collection's variables with the base URL; chained references read the
    // newest completed response of the first request of that collection with the name.
    VariableResolver resolver(const APIRequest& request, const std::optional<APIEnvironment>& environment = std::nullopt);
    // The same for a collection's own settings, or with no collection only the environment.
    VariableResolver resolver(const std::optional<APICollection>& collection,
                              const std::optional<APIEnvironment>& environment = std::nullopt);
    std::vector<StoredResponse> responses(const Uuid& requestID);
    std::optional<StoredResponse> cachedLatestResponse(const Uuid& requestID) const;
    std::optional<std::string> lastError() const;
    // The OAuth 2 tokens shared with the other process through "oauth-tokens.json", and the
    // service that obtains them. Both are safe to use from any thread.
    OAuth2TokenCache& oauthTokens() { return tokens; }
    OAuth2Service& oauth() { return service; }
    std::vector<WorkspaceVersion> versions() const;
    int versionsRevision() const;
    bool canUndo() const;
    bool canRedo() const;
    std::optional<std::string> undoLabel() const;
    std::optional<std::string> redoLabel() const;

    // Edits. Each records an undo step, then schedules a save.
    void addCollection(APICollection collection);
    void update(const APICollection& collection);
    void addEnvironment(APIEnvironment environment);
    void update(const APIEnvironment& environment);
    void deleteEnvironment(const Uuid& id);
    void setActiveEnvironment(const std::optional<Uuid>& id);
    // `folderID` names a folder inside the collection; absent means its top level.
    void addRequest(APIRequest request, const Uuid& collectionID, const std::optional<Uuid>& folderID);
    void addFolder(Folder folder, const Uuid& collectionID, const std::optional<Uuid>& folderID);
    void update(const APIRequest& request);
    void deleteItem(const Uuid& id);
    void renameFolder(const Uuid& id, const std::string& name);
    // The copy ("<name> copy", a new id), placed right after the original.
    std::optional<APIRequest> duplicateRequest(const Uuid& id);
    void move(const Uuid& itemID, const Uuid& collectionID, const std::optional<Uuid>& folderID);
    // Runs `body` (any number of edits) as one undo step named `label`.
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
    // Writes the workspace file now. A failure is kept in lastError(); nothing is lost in
    // memory and the next save tries again.
    void saveNow();
    // Takes in what another process wrote to the workspace file or the history files.
    void reloadIfChanged();
    // Calls reloadIfChanged every second on the background thread.
    void startWatching();
    // Records a response, writing its history file in the background or before returning.
    void record(const StoredResponse& response);
    void recordAndFlush(const StoredResponse& response);
    void clearHistory(const Uuid& requestID);
    void preloadHistory();
    // Deletes the history files of requests that no longer exist, once older than `age`.
    void pruneOrphanedHistory(std::chrono::seconds age);

private:
    // A workspace file written or read within this long of its modification date may be
    // written again within the same file-system clock tick, unnoticed by its stamp.
    static constexpr std::chrono::milliseconds racyWindow{50};

    // The store's lock, with the folder's files loaded.
    std::unique_lock<std::recursive_mutex> access() const;
    void open();
    void checkpoint(const std::string& label, const std::optional<std::string>& coalescingKey = std::nullopt);
    // checkpoint, change the live workspace, schedule a save.
    void edit(const std::string& label, const std::optional<std::string>& coalescingKey,
              const std::function<void(Workspace&)>& change);
    void replaceLive(Workspace workspace);
    void noteFileState(std::string bytes);
    std::vector<Uuid> allRequestIDs() const;
    void watchTick();

    std::filesystem::path folder;
    Clock clock;
    mutable std::recursive_mutex mutex;
    bool opened = false;
    Workspace live;
    ResponseHistory history;
    UndoHistory undoHistory;
    VersionArchive archive;
    std::optional<std::string> error;
    std::optional<std::string> lastWrittenData;
    std::optional<FileStamp> watchedStamp;
    bool watchedStampRacy = false;
    bool grouping = false;
    std::optional<Date> lastVersionAt;
    std::optional<Workspace> lastVersionWorkspace;
    int revision = 0;
    OAuth2TokenCache tokens;
    OAuth2Service service{tokens};
    std::optional<SerialQueue::Ticket> pendingSave;
    bool watching = false;
    // Last, so that its thread stops before the state its tasks use goes away.
    SerialQueue background;
};

}  // namespace tessaline
