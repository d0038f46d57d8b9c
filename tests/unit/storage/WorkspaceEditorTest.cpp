#include "storage/WorkspaceEditor.hpp"

#include "TemporaryFolder.hpp"
#include "model/WorkspaceCoding.hpp"
#include "support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace tessaline {
namespace {

using namespace std::chrono_literals;

APICollection collectionNamed(const std::string& name) {
    APICollection collection;
    collection.name = name;
    return collection;
}

APIRequest requestNamed(const std::string& name) {
    APIRequest request;
    request.name = name;
    request.url = "https://example.com/" + name;
    return request;
}

// An editor on a temporary folder whose clock the test moves by hand.
class WorkspaceEditorTest : public ::testing::Test {
protected:
    WorkspaceEditorTest() { atomicFile::write(folder / "workspace.json", encodeWorkspace(Workspace{})); }

    std::unique_ptr<WorkspaceEditor> open() { return std::make_unique<WorkspaceEditor>(folder.path, [this] { return now; }); }

    std::string reasonOfNewest(WorkspaceEditor& editor) { return editor.versions().at(0).reason; }

    TemporaryFolder folder{"tessaline-editor"};
    Date now = std::chrono::system_clock::now();
};

TEST_F(WorkspaceEditorTest, EditsInABurstAreWrittenOnce) {
    auto editor = open();
    const auto inodeNow = [&] { return FileStamp::of(folder / "workspace.json")->inode; };
    std::set<std::uintmax_t> inodes{inodeNow()};
    editor->addCollection(collectionNamed("A"));
    std::this_thread::sleep_for(100ms);
    editor->addCollection(collectionNamed("B"));
    for (int i = 0; i < 100; ++i) {  // one second of polling
        inodes.insert(inodeNow());
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(2u, inodes.size());  // every write renames a new file into place
    EXPECT_EQ(2u, decodeWorkspace(atomicFile::read(folder / "workspace.json")).collections.size());
}

TEST_F(WorkspaceEditorTest, UndoKeepsTheLastHundredStepsWithTheirLabels) {
    auto editor = open();
    for (int i = 0; i < 150; ++i) editor->addCollection(collectionNamed("C" + std::to_string(i)));
    EXPECT_EQ("New Collection", editor->undoLabel());
    int undone = 0;
    while (editor->canUndo()) {
        editor->undo();
        ++undone;
    }
    EXPECT_EQ(100, undone);
    EXPECT_EQ(50u, editor->workspace().collections.size());
    EXPECT_EQ("New Collection", editor->redoLabel());
    editor->redo();
    EXPECT_EQ(51u, editor->workspace().collections.size());
}

TEST_F(WorkspaceEditorTest, EditsOfOneRequestWithinTwoSecondsAreOneStep) {
    auto editor = open();
    APICollection collection = collectionNamed("API");
    editor->addCollection(collection);
    APIRequest request = requestNamed("users");
    editor->addRequest(request, collection.id, std::nullopt);

    request.url = "https://example.com/v1";
    now += 1s;
    editor->update(request);
    EXPECT_EQ("Edit \u201Cusers\u201D", editor->undoLabel());
    request.url = "https://example.com/v2";
    now += 1500ms;
    editor->update(request);
    request.url = "https://example.com/v3";
    now += 2s;  // a pause: a new step
    editor->update(request);
    request.name = "people";
    now += 100ms;
    editor->update(request);
    EXPECT_EQ("Rename \u201Cpeople\u201D", editor->undoLabel());

    editor->undo();
    EXPECT_EQ("https://example.com/v3", editor->request(request.id)->url);
    editor->undo();
    EXPECT_EQ("https://example.com/v2", editor->request(request.id)->url);
    editor->undo();
    EXPECT_EQ("https://example.com/users", editor->request(request.id)->url);
}

TEST_F(WorkspaceEditorTest, AGroupIsOneStepAndDeletionTakesASnapshotFirst) {
    auto editor = open();
    APICollection collection = collectionNamed("API");
    editor->group("Import", [&] {
        editor->addCollection(collection);
        editor->addRequest(requestNamed("a"), collection.id, std::nullopt);
        editor->addRequest(requestNamed("b"), collection.id, std::nullopt);
    });
    EXPECT_EQ("Import", editor->undoLabel());
    const auto b = editor->workspace().collections[0].items[1].id();
    editor->deleteItem(b);
    EXPECT_EQ("Delete \u201Cb\u201D", editor->undoLabel());
    EXPECT_EQ("Before deleting \u201Cb\u201D", reasonOfNewest(*editor));
    editor->undo();
    editor->undo();
    EXPECT_TRUE(editor->workspace().collections.empty());
}

TEST_F(WorkspaceEditorTest, DuplicateStandsRightAfterTheOriginal) {
    auto editor = open();
    APICollection collection = collectionNamed("API");
    editor->addCollection(collection);
    const APIRequest first = requestNamed("first");
    editor->addRequest(first, collection.id, std::nullopt);
    editor->addRequest(requestNamed("second"), collection.id, std::nullopt);
    const auto copy = editor->duplicateRequest(first.id);
    ASSERT_TRUE(copy);
    EXPECT_EQ("first copy", copy->name);
    EXPECT_NE(first.id, copy->id);
    const auto items = editor->workspace().collections[0].items;
    EXPECT_EQ((std::vector<std::string>{"first", "first copy", "second"}),
              (std::vector<std::string>{items[0].name(), items[1].name(), items[2].name()}));
    EXPECT_EQ("Duplicate \u201Cfirst\u201D", editor->undoLabel());
}

TEST_F(WorkspaceEditorTest, AnExternalChangeCanBeUndone) {
    auto editor = open();
    editor->addCollection(collectionNamed("Before"));
    editor->saveNow();
    Workspace theirs;
    theirs.collections.push_back(collectionNamed("Theirs"));
    atomicFile::write(folder / "workspace.json", encodeWorkspace(theirs));
    editor->reloadIfChanged();
    EXPECT_EQ("External Change", editor->undoLabel());
    EXPECT_EQ("Before external change", reasonOfNewest(*editor));
    editor->undo();
    EXPECT_EQ("Before", editor->workspace().collections.at(0).name);
}

TEST_F(WorkspaceEditorTest, RestoringAVersionBringsItBack) {
    auto editor = open();
    editor->addCollection(collectionNamed("Old"));
    editor->snapshotVersion("Checkpoint");
    const auto version = editor->versions().front();
    APICollection renamed = editor->workspace().collections[0];
    renamed.name = "New";
    now += 1s;
    editor->update(renamed);
    now += 1s;
    editor->restore(version);
    EXPECT_EQ("Old", editor->workspace().collections.at(0).name);
    EXPECT_EQ("Restore Version", editor->undoLabel());
    EXPECT_EQ("Before restoring a version", reasonOfNewest(*editor));
    EXPECT_EQ("Old", decodeWorkspace(atomicFile::read(folder / "workspace.json")).collections.at(0).name);
}

}  // namespace
}  // namespace tessaline
