#include "storage/WorkspaceStore.hpp"

#include "TemporaryFolder.hpp"
#include "model/ItemTree.hpp"
#include "model/WorkspaceCoding.hpp"
#include "storage/SampleWorkspace.hpp"
#include "support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <fstream>

namespace tessaline {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

std::vector<std::string> entries(const fs::path& where) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(where)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> collectionNames(const Workspace& workspace) {
    std::vector<std::string> names;
    for (const auto& collection : workspace.collections) names.push_back(collection.name);
    return names;
}

// A store on a temporary folder whose clock the test moves by hand.
class WorkspaceStoreTest : public ::testing::Test {
protected:
    WorkspaceStoreTest() { writeFile("workspace.json", encodeWorkspace(Workspace{})); }

    std::unique_ptr<WorkspaceStore> open() { return std::make_unique<WorkspaceStore>(folder.path, [this] { return now; }); }
    void writeFile(const std::string& name, const std::string& bytes) { std::ofstream(folder / name) << bytes; }
    Workspace onDisk() { return decodeWorkspace(atomicFile::read(folder / "workspace.json")); }
    Workspace newestVersion(WorkspaceStore& store) { return VersionArchive(folder / "versions").load(store.versions().at(0)); }
    std::vector<std::string> reasons(WorkspaceStore& store) {
        std::vector<std::string> result;
        for (const auto& version : store.versions()) result.push_back(version.reason);
        return result;
    }

    TemporaryFolder folder{"tessaline-store"};
    Date now = std::chrono::system_clock::now();
};

TEST_F(WorkspaceStoreTest, AFolderWithoutAWorkspaceFileGetsTheSampleEvenWhenClosedUnused) {
    for (const bool used : {false, true}) {
        fs::remove(folder / "workspace.json");
        auto store = open();
        if (used) {
            const auto live = store->workspace();
            EXPECT_EQ(onDisk(), live);
        }
        store.reset();
        const auto saved = onDisk();
        ASSERT_EQ(std::vector<std::string>{"DummyJSON"}, collectionNames(saved)) << used;
        EXPECT_EQ(sampleWorkspace::starterNames().size(), itemTree::requestCount(saved.collections[0].items));
    }
}

// The edit stays in memory, and the next save that succeeds writes it.
TEST_F(WorkspaceStoreTest, AFailedSaveIsReportedAndTheEditKept) {
    const fs::path path = folder / "workspace.json";
    fs::remove(path);
    fs::create_directory(path);
    auto store = open();
    store->addCollection({.name = "Kept"});
    EXPECT_EQ("Couldn't save workspace: Could not read “" + path.string() + "”: Is a directory", store->saveNow().failure);
    fs::remove(path);
    EXPECT_EQ(std::nullopt, store->saveNow().failure);
    EXPECT_EQ(std::vector<std::string>{"Kept"}, collectionNames(onDisk()));
}

// An outside write that lands between two lines, after the loop's look and before the save:
// the save takes it in first, snapshots what it replaces, and applies its own edit on top.
TEST_F(WorkspaceStoreTest, ASaveTakesInAnOutsideWriteBeforeReplacingTheFile) {
    auto store = open();
    store->addCollection({.name = "Ours"});
    store->saveNow();
    EXPECT_FALSE(store->reloadIfChanged());  // our own write
    Workspace theirs = onDisk();
    theirs.environments.push_back(APIEnvironment{.name = "Theirs"});
    atomicFile::write(folder / "workspace.json", encodeWorkspace(theirs));
    store->addCollection({.name = "Second"});
    EXPECT_EQ(std::nullopt, store->saveNow().failure);
    const Workspace saved = onDisk();
    EXPECT_EQ(theirs.environments, saved.environments);
    EXPECT_EQ((std::vector<std::string>{"Ours", "Second"}), collectionNames(saved));
    EXPECT_EQ("Before external change", reasons(*store).front());
    EXPECT_EQ((std::vector<std::string>{"Ours", "Second"}), collectionNames(newestVersion(*store)));
}

TEST_F(WorkspaceStoreTest, TakesInAnExternalChangeAfterASnapshot) {
    auto store = open();
    store->addCollection({.name = "Before"});
    store->saveNow();
    atomicFile::write(folder / "workspace.json", encodeWorkspace(Workspace{.collections = {{.name = "Theirs"}}}));
    const auto before = store->reloadIfChanged();
    ASSERT_TRUE(before);
    EXPECT_EQ(std::vector<std::string>{"Before"}, collectionNames(*before));
    EXPECT_EQ(std::vector<std::string>{"Theirs"}, collectionNames(store->workspace()));
    EXPECT_EQ("Before external change", reasons(*store).front());
    EXPECT_EQ(*before, newestVersion(*store));
    EXPECT_FALSE(store->reloadIfChanged());
}

// A half-written or newer file from the other process leaves the live workspace alone; the
// next save keeps its bytes before replacing it.
TEST_F(WorkspaceStoreTest, AnUndecodableExternalFileIsIgnoredAndKept) {
    auto store = open();
    store->addCollection({.name = "Kept"});
    store->saveNow();
    writeFile("workspace.json", "{\"version\": 1, \"collec");
    store->reloadIfChanged();
    EXPECT_EQ(std::vector<std::string>{"Kept"}, collectionNames(store->workspace()));
    const SaveReport report = store->saveNow();
    const auto names = entries(folder.path);
    const auto copy = std::find_if(names.begin(), names.end(), [](const auto& name) {
        return name.starts_with("workspace-unreadable-");
    });
    ASSERT_NE(names.end(), copy);
    EXPECT_EQ("{\"version\": 1, \"collec", atomicFile::read(folder / *copy));
    ASSERT_TRUE(report.notice);
    EXPECT_TRUE(report.notice->ends_with("Its content was kept in " + *copy + " before this save replaced workspace.json."));
}

TEST_F(WorkspaceStoreTest, OpeningRemovesStaleTemporariesAndThinsTheArchive) {
    const auto old = fs::file_time_type::clock::now() - atomicFile::staleAfter - 1s;
    for (const auto& where : {folder.path, folder / "versions"}) {
        fs::create_directories(where);
        std::ofstream(where / ".workspace.json.0123456789ab.tmp") << "stale";
        fs::last_write_time(where / ".workspace.json.0123456789ab.tmp", old);
        std::ofstream(where / ".workspace.json.ba9876543210.tmp") << "in flight";
        std::ofstream(where / ".notes.tmp") << "not ours";
        fs::last_write_time(where / ".notes.tmp", old);
    }
    const VersionArchive archive(folder / "versions");
    const Date tenDaysAgo = std::chrono::floor<std::chrono::days>(now) - std::chrono::days(10) + 12h;
    archive.save("1", "first", tenDaysAgo);
    archive.save("2", "second", tenDaysAgo + 1s);  // the newest of its day
    open()->workspace();
    EXPECT_EQ((std::vector<std::string>{".notes.tmp", ".workspace.json.ba9876543210.tmp", "history", "versions",
                                        "workspace.json"}),
              entries(folder.path));
    EXPECT_EQ((std::vector<std::string>{".notes.tmp", ".workspace.json.ba9876543210.tmp", archive.list().at(0).url.filename()}),
              entries(folder / "versions"));
    EXPECT_EQ(std::vector<std::string>{"second"}, reasons(*open()));
}

// Newest first, at most twenty-five, and what another process recorded meanwhile is kept.
TEST_F(WorkspaceStoreTest, KeepsTheNewestResponsesOfEveryWriter) {
    const Uuid requestID = Uuid::random();
    const auto statuses = [&](WorkspaceStore& store) {
        std::vector<std::int64_t> result;
        for (const auto& response : store.responses(requestID)) result.push_back(response.status);
        return result;
    };
    auto ours = open();
    auto theirs = open();
    EXPECT_EQ(std::vector<std::int64_t>{}, statuses(*ours));
    theirs->recordAndFlush(StoredResponse{.requestID = requestID, .status = 100});
    ours->reloadIfChanged();
    EXPECT_EQ(std::vector<std::int64_t>{100}, statuses(*ours));
    for (int status = 101; status <= 125; ++status) {
        auto& writer = status % 2 ? ours : theirs;
        EXPECT_EQ(std::nullopt, writer->recordAndFlush(StoredResponse{.requestID = requestID, .status = status}).failure);
    }
    std::vector<std::int64_t> newestFirst;
    for (int status = 125; status > 100; --status) newestFirst.push_back(status);
    EXPECT_EQ(newestFirst, statuses(*ours));
    EXPECT_EQ(newestFirst, statuses(*open()));
}

TEST_F(WorkspaceStoreTest, AFailedHistoryWriteIsReported) {
    writeFile("history", "a file where the folder should be");
    const Uuid requestID = Uuid::random();
    EXPECT_EQ("Couldn't save the response history: Could not write “" +
                  (folder / "history" / (requestID.text() + ".json")).string() + "”: Not a directory",
              open()->recordAndFlush(StoredResponse{.requestID = requestID}).failure);
}

TEST_F(WorkspaceStoreTest, ResolverReadsTheEnvironmentThenTheCollection) {
    auto store = open();
    const APICollection collection{.name = "API",
                                   .variables = {{.key = "region", .value = "collection"}, {.key = "only", .value = "c"}},
                                   .baseURL = "https://api.test"};
    store->addCollection(collection);
    const APIRequest request{.name = "r"};
    store->addRequest(request, collection.id, std::nullopt);
    const APIEnvironment staging{.name = "Staging", .variables = {{.key = "region", .value = "env"}}};
    const APIEnvironment other{.name = "Other", .variables = {{.key = "region", .value = "other"}}};
    store->addEnvironment(staging);
    store->setActiveEnvironment(staging.id);
    EXPECT_EQ("env c https://api.test", store->resolver(request).resolve("{{region}} {{only}} {{baseUrl}}"));
    EXPECT_EQ("other", store->resolver(request, other).resolve("{{region}}"));
    EXPECT_EQ("env {{only}}", store->resolver(std::nullopt).resolve("{{region}} {{only}}"));
}

TEST_F(WorkspaceStoreTest, ChainedReferencesReadTheNewestCompletedResponse) {
    fs::remove(folder / "workspace.json");
    auto store = open();  // the sample
    const auto items = store->workspace().collections.at(0).items;
    const auto details = *itemTree::firstRequestNamed(items, "First product details");
    const auto list = *itemTree::firstRequestNamed(items, "List products");
    EXPECT_EQ(details.url, store->resolver(details).resolve(details.url));
    store->recordAndFlush(StoredResponse{.requestID = list.id, .status = 200, .body = R"({"products":[{"id":7},{"id":8}]})"});
    store->recordAndFlush(StoredResponse{.requestID = list.id, .error = "The request timed out."});
    EXPECT_EQ("/products/7", store->resolver(details).resolve(details.url));
}

TEST_F(WorkspaceStoreTest, DeletionAndTenMinutesOfEditingLeaveSnapshots) {
    auto store = open();
    const APICollection collection{.name = "API"};
    store->addCollection(collection);
    const APIRequest request{.name = "b"};
    store->addRequest(request, collection.id, std::nullopt);
    EXPECT_EQ(std::vector<std::string>{"Autosave"}, reasons(*store));
    store->deleteItem(request.id);
    EXPECT_EQ((std::vector<std::string>{"Before deleting \u201Cb\u201D", "Autosave"}), reasons(*store));
    now += WorkspaceStore::autoVersionInterval - 1s;
    store->addCollection({.name = "C"});
    EXPECT_EQ(2u, reasons(*store).size());
    now += 1s;
    store->addCollection({.name = "D"});
    EXPECT_EQ("Autosave", reasons(*store).front());
}

}  // namespace
}  // namespace tessaline
