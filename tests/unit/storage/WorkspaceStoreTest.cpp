#include "storage/WorkspaceStore.hpp"

#include "TemporaryFolder.hpp"
#include "model/ItemTree.hpp"
#include "model/WorkspaceCoding.hpp"
#include "storage/SampleWorkspace.hpp"
#include "support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

namespace tessaline {
namespace {

using namespace std::chrono_literals;

// A store on a temporary folder whose clock the test moves by hand.
class WorkspaceStoreTest : public ::testing::Test {
protected:
    WorkspaceStoreTest() { writeFile("workspace.json", encodeWorkspace(Workspace{})); }

    std::unique_ptr<WorkspaceStore> open() {
        return std::make_unique<WorkspaceStore>(folder.path, [this] { return now; });
    }

    void writeFile(const std::string& name, const std::string& bytes) {
        std::ofstream(folder / name, std::ios::binary | std::ios::trunc) << bytes;
    }

    std::string readFile(const std::string& name) { return atomicFile::read(folder / name); }

    static APICollection collectionNamed(const std::string& name) {
        APICollection collection;
        collection.name = name;
        return collection;
    }

    static APIRequest requestNamed(const std::string& name) {
        APIRequest request;
        request.name = name;
        request.url = "https://example.com/" + name;
        return request;
    }

    std::vector<std::string> reasons(const WorkspaceStore& store) {
        std::vector<std::string> result;
        for (const auto& version : store.versions()) result.push_back(version.reason);
        return result;
    }

    TemporaryFolder folder{"tessaline-store"};
    Date now = std::chrono::system_clock::now();
};

TEST_F(WorkspaceStoreTest, ANewFolderGetsTheSampleSavedAfterTheDelay) {
    std::filesystem::remove(folder / "workspace.json");
    auto store = open();
    EXPECT_TRUE(std::filesystem::is_directory(folder / "history"));
    const Workspace workspace = store->workspace();
    ASSERT_EQ(1u, workspace.collections.size());
    EXPECT_EQ(42u, itemTree::allRequests(workspace.collections[0].items).size());
    EXPECT_FALSE(std::filesystem::exists(folder / "workspace.json"));
    std::this_thread::sleep_for(WorkspaceStore::saveDelay + 300ms);
    EXPECT_EQ(workspace, decodeWorkspace(readFile("workspace.json")));
}

TEST_F(WorkspaceStoreTest, ANewFolderClosedUnusedStillGetsTheSample) {
    std::filesystem::remove(folder / "workspace.json");
    open().reset();
    const Workspace saved = decodeWorkspace(readFile("workspace.json"));
    ASSERT_EQ(1u, saved.collections.size());
    EXPECT_EQ(sampleWorkspace::starterNames().size(), itemTree::allRequests(saved.collections.front().items).size());
}

TEST_F(WorkspaceStoreTest, AnEmptyOrDamagedFileIsNeverReplacedByTheSample) {
    for (const std::string bytes : {"{}", "{\"version\": 1, \"collections\": [", ""}) {
        writeFile("workspace.json", bytes);
        open().reset();
        EXPECT_EQ(bytes, readFile("workspace.json"));
        EXPECT_EQ(Workspace{}, open()->workspace());
    }
}

TEST_F(WorkspaceStoreTest, AFailedSaveKeepsTheEditAndSaysWhy) {
    std::filesystem::remove(folder / "workspace.json");
    std::filesystem::create_directory(folder / "workspace.json");  // nothing can be renamed over a folder
    auto store = open();
    store->addCollection(collectionNamed("Kept"));
    store->saveNow();
    ASSERT_TRUE(store->lastError());
    EXPECT_TRUE(store->lastError()->starts_with("Couldn't save workspace: ")) << *store->lastError();
    EXPECT_EQ("Kept", store->workspace().collections.at(0).name);
}

TEST_F(WorkspaceStoreTest, EditsInABurstAreWrittenOnce) {
    auto store = open();
    const auto inodeNow = [&] { return FileStamp::of(folder / "workspace.json")->inode; };
    const auto before = inodeNow();
    store->addCollection(collectionNamed("A"));
    std::this_thread::sleep_for(100ms);
    store->addCollection(collectionNamed("B"));
    std::set<std::uintmax_t> inodes{before};
    for (int i = 0; i < 100; ++i) {  // one second of polling
        inodes.insert(inodeNow());
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(2u, inodes.size());  // every write renames a new file into place
    EXPECT_EQ(2u, decodeWorkspace(readFile("workspace.json")).collections.size());
}

TEST_F(WorkspaceStoreTest, UndoKeepsTheLastHundredStepsWithTheirLabels) {
    auto store = open();
    for (int i = 0; i < 150; ++i) store->addCollection(collectionNamed("C" + std::to_string(i)));
    EXPECT_EQ("New Collection", store->undoLabel());
    int undone = 0;
    while (store->canUndo()) {
        store->undo();
        ++undone;
    }
    EXPECT_EQ(100, undone);
    EXPECT_EQ(50u, store->workspace().collections.size());
    EXPECT_EQ("New Collection", store->redoLabel());
    store->redo();
    EXPECT_EQ(51u, store->workspace().collections.size());
}

TEST_F(WorkspaceStoreTest, EditsOfOneRequestWithinTwoSecondsAreOneStep) {
    auto store = open();
    APICollection collection = collectionNamed("API");
    store->addCollection(collection);
    APIRequest request = requestNamed("users");
    store->addRequest(request, collection.id, std::nullopt);

    request.url = "https://example.com/v1";
    now += 1s;
    store->update(request);
    EXPECT_EQ("Edit \u201Cusers\u201D", store->undoLabel());
    request.url = "https://example.com/v2";
    now += 1500ms;
    store->update(request);
    request.url = "https://example.com/v3";
    now += 2s;  // a pause: a new step
    store->update(request);
    request.name = "people";
    now += 100ms;
    store->update(request);
    EXPECT_EQ("Rename \u201Cpeople\u201D", store->undoLabel());

    store->undo();
    EXPECT_EQ("https://example.com/v3", store->request(request.id)->url);
    store->undo();
    EXPECT_EQ("https://example.com/v2", store->request(request.id)->url);
    store->undo();
    EXPECT_EQ("https://example.com/users", store->request(request.id)->url);
}

TEST_F(WorkspaceStoreTest, AGroupIsOneStepAndDeletionTakesASnapshotFirst) {
    auto store = open();
    APICollection collection = collectionNamed("API");
    store->group("Import", [&] {
        store->addCollection(collection);
        store->addRequest(requestNamed("a"), collection.id, std::nullopt);
        store->addRequest(requestNamed("b"), collection.id, std::nullopt);
    });
    EXPECT_EQ("Import", store->undoLabel());
    const auto b = store->workspace().collections[0].items[1].id();
    store->deleteItem(b);
    EXPECT_EQ("Delete \u201Cb\u201D", store->undoLabel());
    EXPECT_EQ("Before deleting \u201Cb\u201D", reasons(*store).front());
    store->undo();
    store->undo();
    EXPECT_TRUE(store->workspace().collections.empty());
}

TEST_F(WorkspaceStoreTest, AutosaveSnapshotsAreTenMinutesApart) {
    auto store = open();
    store->addCollection(collectionNamed("A"));
    store->addCollection(collectionNamed("B"));
    EXPECT_EQ(std::vector<std::string>{"Autosave"}, reasons(*store));
    now += WorkspaceStore::autoVersionInterval;
    store->addCollection(collectionNamed("C"));
    EXPECT_EQ((std::vector<std::string>{"Autosave", "Autosave"}), reasons(*store));
}

TEST_F(WorkspaceStoreTest, LoadingThinsTheArchiveInTheBackground) {
    const VersionArchive archive(folder / "versions");
    const Date tenDaysAgo = std::chrono::floor<std::chrono::days>(now) - std::chrono::days(10) + 12h;
    archive.save("1", "first", tenDaysAgo);
    archive.save("2", "second", tenDaysAgo + 1s);
    auto store = open();
    store->workspace();
    store.reset();  // a store runs its due background work before it closes
    const auto kept = archive.list();
    ASSERT_EQ(1u, kept.size());
    EXPECT_EQ("second", kept.front().reason);
}

// The files are read when first needed, so a write made between opening and the first use
// is simply what the store starts from.
TEST_F(WorkspaceStoreTest, ReadsTheFolderWhenFirstUsed) {
    auto store = open();
    Workspace external;
    external.collections.push_back(collectionNamed("External"));
    writeFile("workspace.json", encodeWorkspace(external));
    store->reloadIfChanged();
    const auto collections = store->workspace().collections;
    ASSERT_EQ(1u, collections.size());
    EXPECT_EQ("External", collections.front().name);
    EXPECT_FALSE(store->canUndo());
}

TEST_F(WorkspaceStoreTest, DuplicateStandsRightAfterTheOriginal) {
    auto store = open();
    APICollection collection = collectionNamed("API");
    store->addCollection(collection);
    const APIRequest first = requestNamed("first");
    store->addRequest(first, collection.id, std::nullopt);
    store->addRequest(requestNamed("second"), collection.id, std::nullopt);
    const auto copy = store->duplicateRequest(first.id);
    ASSERT_TRUE(copy);
    EXPECT_EQ("first copy", copy->name);
    EXPECT_NE(first.id, copy->id);
    const auto items = store->workspace().collections[0].items;
    EXPECT_EQ((std::vector<std::string>{"first", "first copy", "second"}),
              (std::vector<std::string>{items[0].name(), items[1].name(), items[2].name()}));
    EXPECT_EQ("Duplicate \u201Cfirst\u201D", store->undoLabel());
}

TEST_F(WorkspaceStoreTest, KeepsTwentyFiveResponsesPerRequestOnDisk) {
    const Uuid requestID = Uuid::random();
    std::vector<Uuid> recorded;
    {
        auto store = open();
        for (int i = 0; i < 26; ++i) {
            StoredResponse response;
            response.requestID = requestID;
            response.status = 200 + i;
            recorded.push_back(response.id);
            store->recordAndFlush(response);
        }
        EXPECT_EQ(25u, store->responses(requestID).size());
        EXPECT_EQ(225, store->responses(requestID).front().status);
    }
    const auto reread = open()->responses(requestID);
    ASSERT_EQ(25u, reread.size());
    EXPECT_EQ(recorded.back(), reread.front().id);
    EXPECT_EQ(recorded[1], reread.back().id);  // the first one recorded is gone
    EXPECT_TRUE(std::filesystem::exists(folder / "history" / (requestID.text() + ".json")));
}

TEST_F(WorkspaceStoreTest, OwnWritesAreNotTakenForExternalChanges) {
    auto store = open();
    store->addCollection(collectionNamed("Mine"));
    store->saveNow();
    const auto label = store->undoLabel();
    store->reloadIfChanged();
    store->reloadIfChanged();
    EXPECT_EQ(label, store->undoLabel());
    for (const auto& reason : reasons(*store)) EXPECT_NE("Before external change", reason);
}

TEST_F(WorkspaceStoreTest, TakesInAnExternalChangeWithASnapshotAndAnUndoStep) {
    auto store = open();
    store->addCollection(collectionNamed("Before"));
    store->saveNow();

    Workspace theirs;
    theirs.collections.push_back(collectionNamed("Theirs"));
    atomicFile::write(folder / "workspace.json", encodeWorkspace(theirs));
    store->reloadIfChanged();

    EXPECT_EQ(theirs, store->workspace());
    EXPECT_EQ("Before external change", reasons(*store).front());
    store->undo();
    EXPECT_EQ("Before", store->workspace().collections.at(0).name);
}

TEST_F(WorkspaceStoreTest, NoticesASecondWriteWithinOneClockTick) {
    auto store = open();
    store->addCollection(collectionNamed("AAAA"));
    store->saveNow();
    // Same size, same inode, written in place at once: only the bytes tell.
    std::string bytes = readFile("workspace.json");
    const auto at = bytes.find("AAAA");
    bytes.replace(at, 4, "BBBB");
    writeFile("workspace.json", bytes);
    store->reloadIfChanged();
    EXPECT_EQ("BBBB", store->workspace().collections.at(0).name);
}

TEST_F(WorkspaceStoreTest, AHalfWrittenExternalFileIsIgnored) {
    auto store = open();
    store->addCollection(collectionNamed("Kept"));
    store->saveNow();
    writeFile("workspace.json", "{\"version\": 1, \"collec");
    store->reloadIfChanged();
    EXPECT_EQ("Kept", store->workspace().collections.at(0).name);
}

TEST_F(WorkspaceStoreTest, SeesResponsesRecordedByAnotherProcess) {
    auto ours = open();
    auto theirs = open();
    const Uuid requestID = Uuid::random();
    EXPECT_TRUE(ours->responses(requestID).empty());
    StoredResponse response;
    response.requestID = requestID;
    response.status = 201;
    theirs->recordAndFlush(response);
    ours->reloadIfChanged();
    ASSERT_EQ(1u, ours->responses(requestID).size());
    EXPECT_EQ(201, ours->responses(requestID).front().status);
}

TEST_F(WorkspaceStoreTest, ResolverReadsTheEnvironmentThenTheCollection) {
    auto store = open();
    APICollection collection = collectionNamed("API");
    collection.baseURL = "https://api.test";
    collection.variables = {KeyValue{.key = "region", .value = "collection"}, KeyValue{.key = "only", .value = "c"}};
    store->addCollection(collection);
    const APIRequest request = requestNamed("r");
    store->addRequest(request, collection.id, std::nullopt);
    APIEnvironment staging{.name = "Staging", .variables = {KeyValue{.key = "region", .value = "env"}}};
    APIEnvironment other{.name = "Other", .variables = {KeyValue{.key = "region", .value = "other"}}};
    store->addEnvironment(staging);
    store->setActiveEnvironment(staging.id);

    EXPECT_EQ("env c https://api.test", store->resolver(request).resolve("{{region}} {{only}} {{baseUrl}}"));
    EXPECT_EQ("other", store->resolver(request, other).resolve("{{region}}"));
    EXPECT_EQ("env {{only}}", store->resolver(std::nullopt).resolve("{{region}} {{only}}"));
}

TEST_F(WorkspaceStoreTest, ChainedReferencesReadTheNewestCompletedResponse) {
    std::filesystem::remove(folder / "workspace.json");
    auto store = open();  // the sample
    const auto items = store->workspace().collections.at(0).items;
    const auto details = *itemTree::firstRequestNamed(items, "First product details");
    const auto list = *itemTree::firstRequestNamed(items, "List products");
    EXPECT_EQ(details.url, store->resolver(details).resolve(details.url));

    StoredResponse completed{.requestID = list.id, .status = 200, .body = R"({"products":[{"id":7},{"id":8}]})"};
    StoredResponse failed{.requestID = list.id, .error = "The request timed out."};
    store->recordAndFlush(completed);
    store->recordAndFlush(failed);
    EXPECT_EQ("/products/7", store->resolver(details).resolve(details.url));
}

TEST_F(WorkspaceStoreTest, RestoringAVersionBringsItBack) {
    auto store = open();
    store->addCollection(collectionNamed("Old"));
    store->snapshotVersion("Checkpoint");
    const auto version = store->versions().front();
    APICollection renamed = store->workspace().collections[0];
    renamed.name = "New";
    now += 1s;
    store->update(renamed);
    now += 1s;
    store->restore(version);
    EXPECT_EQ("Old", store->workspace().collections.at(0).name);
    EXPECT_EQ("Restore Version", store->undoLabel());
    EXPECT_EQ("Before restoring a version", reasons(*store).front());
    EXPECT_EQ("Old", decodeWorkspace(readFile("workspace.json")).collections.at(0).name);
}

}  // namespace
}  // namespace tessaline
