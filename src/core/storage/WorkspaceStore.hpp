#pragma once

#include "core/model/StoredResponse.hpp"
#include "core/model/Workspace.hpp"
#include "core/oauth/OAuth2TokenCache.hpp"
#include "core/storage/ResponseHistory.hpp"
#include "core/storage/SaveReport.hpp"
#include "core/storage/VersionArchive.hpp"
#include "core/support/Clock.hpp"
#include "core/support/WatchedFile.hpp"
#include "core/variables/VariableResolver.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessaline {

// The owner of a workspace folder's files and of the live workspace read from them: the
// workspace file, the recorded responses of each request, the version archive and the OAuth 2
// token cache. The desktop client and the server each open the folder with their own store,
// so the store notices what the other process writes (reloadIfChanged) and never takes its own
// writes for the other's.
//
// Edits change the live workspace; saveNow() writes it and reports a failure rather than
// hiding it. Nothing the store could not read is destroyed: a workspace file that does not
// decode, and does not change within a moment as one being written in place would, is copied
// beside itself before the first save replaces it, and one that cannot be read at all is
// never replaced. Just before replacing the file the store looks at it once more, and takes
// in what another process wrote since it last read or wrote it, as reloadIfChanged() would;
// the edits not yet saved are then applied again on top. What another process writes at the
// very moment of the replacement is taken in the same way and the file written again.
//
// One thread at a time: the server calls it from one workspace step at a time; WorkspaceEditor adds
// the locking, undo and timing a desktop client needs.
// The folder's files are loaded when a member first needs them, so that a host's handshake,
// which needs no workspace, is answered without waiting for the disk.
class WorkspaceStore {
public:
    static constexpr std::size_t historyLimit = ResponseHistory::historyLimit;
    static constexpr std::chrono::seconds autoVersionInterval{600};

    // "Tessaline" in the user's data folder (platform::userDataFolder).
    static std::filesystem::path defaultFolder();

    // Creates the folder (0700 where it is new); its files are loaded on first use. A folder
    // without a workspace file gets the sample.
    explicit WorkspaceStore(std::filesystem::path folderPath, Clock now = systemClock());
    // Writes the sample into a new folder that was never used.
    ~WorkspaceStore();
    WorkspaceStore(const WorkspaceStore&) = delete;
    WorkspaceStore& operator=(const WorkspaceStore&) = delete;

    // Reading.
    Workspace workspace();
    // Calls `reader` with the live workspace, for reads that would rather not copy it; the
    // reference must not outlive the call.
    template <typename Reader>
    auto read(Reader&& reader) {
        return reader(static_cast<const Workspace&>(loaded()));
    }
    std::optional<APIEnvironment> activeEnvironment();
    std::optional<APIRequest> request(const Uuid& id);
    std::optional<APICollection> collection(const Uuid& id);
    std::optional<APICollection> collectionContaining(const Uuid& requestID);
    // The variables a saved request sees: the environment (the active one unless another is
    // given), then its collection's variables with the base URL; chained references read the
    // newest completed response of the first request of that collection with the name.
    VariableResolver resolver(const APIRequest& request, const std::optional<APIEnvironment>& environment = std::nullopt);
    // The same for a collection's own settings, or with no collection only the environment.
    VariableResolver resolver(const std::optional<APICollection>& collection,
                              const std::optional<APIEnvironment>& environment = std::nullopt);
    std::vector<StoredResponse> responses(const Uuid& requestID);
    // The OAuth 2 tokens shared with the other process through "oauth-tokens.json"; safe to
    // use from any thread.
    OAuth2TokenCache& oauthTokens() { return tokens; }
    std::vector<WorkspaceVersion> versions() const { return archive.list(); }

    // Edits of the live workspace, written by the next saveNow(). An edit whose target does
    // not exist changes nothing. Every autoVersionInterval of editing leaves an "Autosave"
    // snapshot; a deletion leaves one "Before deleting “<name>”" first.
    void addCollection(const APICollection& collection);
    void update(const APICollection& collection);
    void addEnvironment(const APIEnvironment& environment);
    void update(const APIEnvironment& environment);
    void setActiveEnvironment(const std::optional<Uuid>& id);
    // `folderID` names a folder inside the collection; absent means its top level.
    void addRequest(const APIRequest& request, const Uuid& collectionID, const std::optional<Uuid>& folderID);
    void addFolder(const Folder& folder, const Uuid& collectionID, const std::optional<Uuid>& folderID);
    void update(const APIRequest& request);
    void deleteItem(const Uuid& id);
    // Any other edit. `change` is kept until the edit is saved, to be applied again on top
    // of what another process writes meanwhile, so it must only capture values.
    void edit(std::function<void(Workspace&)> change);
    // Snapshots the live workspace; returns whether a file was written.
    bool snapshotVersion(const std::string& reason);
    // The live workspace as of the newest snapshot this store took, if any.
    const std::optional<Workspace>& lastVersionWorkspace() const { return lastVersion; }

    // Persistence.
    // Writes the workspace file now, after taking in what another process wrote since the
    // store last read or wrote it, and then the response histories whose writes failed. On
    // failure the edits stay in memory for the next save.
    SaveReport saveNow();
    // Takes in what another process wrote to the workspace file (after snapshotting the
    // live workspace as "Before external change") and to the loaded history files. Returns
    // the workspace as it was before, when the workspace file brought a change.
    std::optional<Workspace> reloadIfChanged();
    // Records a response and writes its history file before returning.
    SaveReport recordAndFlush(const StoredResponse& response);
    // Reads again the history of every request that has one.
    void preloadHistory();

private:
    // Why the workspace file could not be taken in, with its bytes when it could be read.
    struct Unreadable {
        std::string reason;
        std::optional<std::string> bytes;
    };

    std::filesystem::path workspaceFilePath() const { return folder / "workspace.json"; }
    // The live workspace, with the folder's files loaded.
    Workspace& loaded();
    void open();
    std::optional<Workspace> decodedFile(WatchedFile::Content content);
    std::optional<Workspace> takeIn(const WatchedFile::Content& content);
    // Makes `theirs` live with the unsaved edits on top, after snapshotting the live
    // workspace (during a save, once the save is over, so that its rounds stay short);
    // returns the workspace as it was, absent when `theirs` brings no change.
    std::optional<Workspace> adopt(Workspace theirs);
    bool snapshot(const Workspace& state, const std::string& reason, Date date);
    SaveReport saveInRounds();
    // One round of a save: replaces the workspace file with the live workspace unless another
    // process wrote it since the last look, or, in the last round, whatever it holds. Returns
    // false when the save has to go round again: the other write is to be taken in first, or
    // was swapped out by the replacement and taken in already. What a swap caught in the last
    // round, or what does not decode, is kept as an "Overwritten external change" snapshot.
    bool wroteFile(bool lastRound);
    // Copies the bytes of an unreadable workspace file beside it; returns the notice.
    std::string keepUnreadable(const std::string& bytes);
    std::vector<Uuid> allRequestIDs();

    std::filesystem::path folder;
    Clock clock;
    bool opened = false;
    WatchedFile file;
    Workspace live;
    std::vector<std::function<void(Workspace&)>> unsaved;
    std::optional<Unreadable> unreadable;
    bool saving = false;
    // The live states that outside writes replaced during this save, and when.
    std::vector<std::pair<Date, Workspace>> replacedDuringSave;
    ResponseHistory history;
    VersionArchive archive;
    std::optional<Date> lastVersionAt;
    std::optional<Workspace> lastVersion;
    OAuth2TokenCache tokens;
};

}  // namespace tessaline
