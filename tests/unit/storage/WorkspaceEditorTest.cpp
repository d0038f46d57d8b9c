#include "storage/WorkspaceEditor.hpp"

#include "TemporaryFolder.hpp"
#include "model/WorkspaceCoding.hpp"
#include "support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <thread>

#include <sys/inotify.h>
#include <unistd.h>

namespace tessaline {
namespace {

using namespace std::chrono_literals;

APIRequest requestNamed(const std::string& name) { return {.name = name, .url = "https://example.com/" + name}; }

// The folder, holding an empty workspace rather than the sample.
std::filesystem::path withEmptyWorkspace(const TemporaryFolder& folder) {
    atomicFile::write(folder / "workspace.json", encodeWorkspace(Workspace{}));
    return folder.path;
}

// An editor on a temporary folder whose clock the test moves by hand.
class WorkspaceEditorTest : public ::testing::Test {
protected:
    Workspace onDisk() { return decodeWorkspace(atomicFile::read(folder / "workspace.json")); }
    std::string newestVersion() { return editor.versions().at(0).reason; }

    TemporaryFolder folder{"tessaline-editor"};
    Date now = std::chrono::system_clock::now();
    WorkspaceEditor editor{withEmptyWorkspace(folder), [this] { return now; }};
};

// Every save renames a new file into place, and the kernel reports each rename, so that a
// second save is counted however close it follows the first.
TEST_F(WorkspaceEditorTest, EditsInABurstAreWrittenOnce) {
    const int renames = ::inotify_init1(IN_NONBLOCK);
    ASSERT_LE(0, ::inotify_add_watch(renames, folder.path.c_str(), IN_MOVED_TO));
    {
        WorkspaceEditor burst(folder.path);
        burst.addCollection({.name = "A"});
        burst.addCollection({.name = "B"});
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (onDisk().collections.size() < 2 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(10ms);
        ASSERT_EQ(2u, onDisk().collections.size()) << "no timed save";
    }  // a save still waiting would be written now
    int renamedInPlace = 0;
    alignas(inotify_event) char events[4096];
    for (ssize_t size; (size = ::read(renames, events, sizeof events)) > 0;) {
        for (ssize_t at = 0; at < size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(events + at);
            if (event->len > 0 && std::string(event->name) == "workspace.json") ++renamedInPlace;
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
    ::close(renames);
    EXPECT_EQ(1, renamedInPlace);
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
}

TEST_F(WorkspaceEditorTest, EditsOfOneRequestWithinTwoSecondsAreOneStep) {
    const APICollection collection{.name = "API"};
    editor.addCollection(collection);
    APIRequest request = requestNamed("users");
    editor.addRequest(request, collection.id, std::nullopt);
    const auto edit = [&](const std::string& url, std::chrono::milliseconds after) {
        request.url = url;
        now += after;
        editor.update(request);
    };
    edit("https://example.com/v1", 1s);
    EXPECT_EQ("Edit \u201Cusers\u201D", editor.undoLabel());
    edit("https://example.com/v2", 1500ms);
    edit("https://example.com/v3", 2s);  // a pause: a new step
    request.name = "people";
    edit("https://example.com/v3", 100ms);
    EXPECT_EQ("Rename \u201Cpeople\u201D", editor.undoLabel());
    for (const auto* url : {"https://example.com/v3", "https://example.com/v2", "https://example.com/users"}) {
        editor.undo();
        EXPECT_EQ(url, editor.request(request.id)->url);
    }
}

TEST_F(WorkspaceEditorTest, AGroupIsOneStepAndDeletionTakesASnapshotFirst) {
    const APICollection collection{.name = "API"};
    const APIRequest first = requestNamed("first");
    editor.group("Import", [&] {
        editor.addCollection(collection);
        editor.addRequest(first, collection.id, std::nullopt);
        editor.addRequest(requestNamed("b"), collection.id, std::nullopt);
    });
    EXPECT_EQ("Import", editor.undoLabel());
    const auto copy = editor.duplicateRequest(first.id);
    EXPECT_EQ("Duplicate \u201Cfirst\u201D", editor.undoLabel());
    const auto items = editor.workspace().collections[0].items;
    std::vector<std::string> names;
    for (const auto& item : items) names.push_back(item.name());
    EXPECT_EQ((std::vector<std::string>{"first", "first copy", "b"}), names);  // right after the original
    EXPECT_NE(first.id, copy->id);

    editor.deleteItem(items[2].id());
    EXPECT_EQ("Delete \u201Cb\u201D", editor.undoLabel());
    EXPECT_EQ("Before deleting \u201Cb\u201D", newestVersion());
    for (int step = 0; step < 3; ++step) editor.undo();
    EXPECT_TRUE(editor.workspace().collections.empty());
}

TEST_F(WorkspaceEditorTest, AnExternalChangeAndARestoredVersionCanBeUndone) {
    editor.addCollection({.name = "Before"});
    editor.saveNow();
    atomicFile::write(folder / "workspace.json", encodeWorkspace(Workspace{.collections = {{.name = "Theirs"}}}));
    editor.reloadIfChanged();
    EXPECT_EQ("External Change", editor.undoLabel());
    EXPECT_EQ("Before external change", newestVersion());
    editor.undo();
    EXPECT_EQ("Before", editor.workspace().collections.at(0).name);

    editor.snapshotVersion("Checkpoint");
    const auto checkpoint = editor.versions().front();
    APICollection renamed = editor.workspace().collections[0];
    renamed.name = "New";
    now += 1s;
    editor.update(renamed);
    now += 1s;
    editor.restore(checkpoint);
    EXPECT_EQ("Restore Version", editor.undoLabel());
    EXPECT_EQ("Before restoring a version", newestVersion());
    EXPECT_EQ("Before", onDisk().collections.at(0).name);
    editor.undo();
    EXPECT_EQ("New", editor.workspace().collections.at(0).name);
}

}  // namespace
}  // namespace tessaline
