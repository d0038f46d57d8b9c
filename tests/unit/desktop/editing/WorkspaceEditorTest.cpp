#include "desktop/editing/WorkspaceEditor.hpp"

#include "TemporaryFolder.hpp"
#include "core/model/WorkspaceCoding.hpp"
#include "core/support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace tessaline {
namespace {

using namespace std::chrono_literals;

// The folder, holding an empty workspace rather than the sample.
std::filesystem::path withEmptyWorkspace(const TemporaryFolder& folder) {
    atomicFile::write(folder / "workspace.json", encodeWorkspace(Workspace{}));
    return folder.path;
}

// An editor on a temporary folder whose clock the test moves by hand.
class WorkspaceEditorTest : public ::testing::Test {
protected:
    Workspace onDisk() { return decodeWorkspace(atomicFile::read(folder / "workspace.json")); }

    TemporaryFolder folder{"tessaline-editor"};
    Date now = std::chrono::system_clock::now();
    WorkspaceEditor editor{withEmptyWorkspace(folder), [this] { return now; }};
};

// How many times workspace.json was renamed into place, by the kernel's reports on `watch`:
// waits up to `wait` for the first report, then counts what has come.
int workspaceRenames(int watch, std::chrono::milliseconds wait) {
    pollfd ready{.fd = watch, .events = POLLIN, .revents = 0};
    int renames = 0;
    alignas(inotify_event) char events[4096];
    while (::poll(&ready, 1, static_cast<int>(wait.count())) > 0) {
        const auto size = ::read(watch, events, sizeof events);
        for (ssize_t at = 0; at < size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(events + at);
            if (event->len > 0 && std::string(event->name) == "workspace.json") ++renames;
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
        if (renames > 0) wait = 0ms;  // take in what is queued, then stop
    }
    return renames;
}

// Every save renames a new file into place and the kernel reports each rename, so that a
// second save is counted however close it follows the first.
TEST_F(WorkspaceEditorTest, EditsInABurstAreWrittenOnce) {
    const int watch = ::inotify_init1(IN_NONBLOCK);
    ASSERT_LE(0, ::inotify_add_watch(watch, folder.path.c_str(), IN_MOVED_TO));
    {
        WorkspaceEditor burst(folder.path);
        burst.addCollection({.name = "A"});
        burst.addCollection({.name = "B"});
        EXPECT_EQ(1, workspaceRenames(watch, 20s)) << "one timed save";
    }  // a save still waiting would be written now
    EXPECT_EQ(0, workspaceRenames(watch, 0ms));
    EXPECT_EQ(2u, onDisk().collections.size());
    ::close(watch);
}

TEST_F(WorkspaceEditorTest, UndoKeepsTheLastHundredStepsAndANewEditDropsTheRedoSteps) {
    for (int i = 0; i < 150; ++i) editor.addCollection({.name = "C" + std::to_string(i)});
    EXPECT_EQ("New Collection", editor.undoLabel());
    int undone = 0;
    for (; editor.canUndo(); ++undone) editor.undo();
    EXPECT_EQ(100, undone);
    EXPECT_EQ(50u, editor.workspace().collections.size());
    EXPECT_EQ("New Collection", editor.redoLabel());
    editor.redo();
    EXPECT_EQ(51u, editor.workspace().collections.size());
    editor.addCollection({.name = "Instead"});
    EXPECT_FALSE(editor.canRedo());
    editor.saveNow();
    atomicFile::write(folder / "workspace.json", encodeWorkspace(Workspace{.collections = {{.name = "Theirs"}}}));
    editor.reloadIfChanged();
    EXPECT_EQ("External Change", editor.undoLabel());
    editor.undo();
    EXPECT_EQ(52u, editor.workspace().collections.size());
}

// Steady typing in one request is one step: each edit within two seconds of the last joins it.
TEST_F(WorkspaceEditorTest, EditsOfOneRequestWithinTwoSecondsAreOneStep) {
    const APICollection collection{.name = "API"};
    editor.addCollection(collection);
    APIRequest request{.name = "users", .url = "/users"};
    editor.addRequest(request, collection.id, std::nullopt);
    for (const auto& [url, after] : std::vector<std::pair<std::string, std::chrono::milliseconds>>{
             {"/v1", 1s}, {"/v2", 1500ms}, {"/v3", 2s}, {"/v4", 1900ms}}) {
        request.url = url;
        now += after;
        editor.update(request);
    }
    EXPECT_EQ("Edit \u201Cusers\u201D", editor.undoLabel());
    editor.undo();
    EXPECT_EQ("/v2", editor.request(request.id)->url);
    editor.undo();
    EXPECT_EQ("/users", editor.request(request.id)->url);
}

}  // namespace
}  // namespace tessaline
