#include "storage/WorkspaceStore.hpp"

#include "TemporaryFolder.hpp"
#include "model/ItemTree.hpp"
#include "model/WorkspaceCoding.hpp"
#include "storage/SampleWorkspace.hpp"
#include "support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>

namespace tessaline {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

APICollection collectionNamed(const std::string& name) {
    APICollection collection;
    collection.name = name;
    return collection;
}

Workspace workspaceWith(const std::string& collectionName) {
    Workspace workspace;
    workspace.collections.push_back(collectionNamed(collectionName));
    return workspace;
}

mode_t modeOf(const fs::path& path) {
    struct stat status {};
    ::stat(path.c_str(), &status);
    return status.st_mode & 07777;
}

// A store on a temporary folder whose clock the test moves by hand.
class WorkspaceStoreTest : public ::testing::Test {
protected:
    WorkspaceStoreTest() { writeFile("workspace.json", encodeWorkspace(Workspace{})); }

    std::unique_ptr<WorkspaceStore> open() { return std::make_unique<WorkspaceStore>(folder.path, [this] { return now; }); }

    void writeFile(const std::string& name, const std::string& bytes) {
        std::ofstream(folder / name, std::ios::binary | std::ios::trunc) << bytes;
    }

    std::string readFile(const std::string& name) { return atomicFile::read(folder / name); }

    std::vector<std::string> reasons(WorkspaceStore& store) {
        std::vector<std::string> result;
        for (const auto& version : store.versions()) result.push_back(version.reason);
        return result;
    }

    std::vector<std::string> entries(const fs::path& where) {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(where)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryFolder folder{"tessaline-store"};
    Date now = std::chrono::system_clock::now();
};

TEST_F(WorkspaceStoreTest, ANewFolderGetsTheSampleOnFirstUseWithPrivateModes) {
    const fs::path fresh = folder / "new" / "Tessaline";
    const WorkspaceStore store(fresh);
    EXPECT_EQ(0700u, modeOf(fresh));
    EXPECT_EQ(0700u, modeOf(fresh / "history"));
    EXPECT_EQ(0700u, modeOf(folder / "new"));
    fs::remove(folder / "workspace.json");
    WorkspaceStore(folder.path).workspace();
    const Workspace saved = decodeWorkspace(readFile("workspace.json"));
    EXPECT_EQ(0600u, modeOf(folder / "workspace.json"));
    ASSERT_EQ(1u, saved.collections.size());
    EXPECT_EQ(sampleWorkspace::starterNames().size(), itemTree::allRequests(saved.collections.front().items).size());
}

TEST_F(WorkspaceStoreTest, ANewFolderClosedUnusedStillGetsTheSample) {
    fs::remove(folder / "workspace.json");
    open().reset();
    EXPECT_EQ(1u, decodeWorkspace(readFile("workspace.json")).collections.size());
}

TEST_F(WorkspaceStoreTest, AnExistingFileAndFolderKeepTheirModes) {
    fs::permissions(folder / "workspace.json", fs::perms(0640));
    fs::permissions(folder.path, fs::perms(0750));
    auto store = open();
    store->addCollection(collectionNamed("A"));
    EXPECT_FALSE(store->saveNow().failure);
    EXPECT_EQ(0640u, modeOf(folder / "workspace.json"));
    EXPECT_EQ(0750u, modeOf(folder.path));
}

// A file that does not decode (damaged, or written by a newer build) is kept beside the new
// one before the first save replaces it, and that save says where.
TEST_F(WorkspaceStoreTest, AFileThatDoesNotDecodeIsKeptBeforeTheFirstSave) {
    const std::string newer = R"({"version": 1, "collections": [{"id": "5F6B6B0E-3A43-4C8B-9C55-6B0C2A8E0F11",)"
                              R"("name": "Kept", "items": [{"request": {"_0": {"method": "QUERY"}}}]}], "environments": []})";
    for (const std::string& bytes : {std::string("{\"version\": 1, \"collections\": ["), newer}) {
        SCOPED_TRACE(bytes);
        writeFile("workspace.json", bytes);
        open().reset();
        EXPECT_EQ(bytes, readFile("workspace.json"));  // never replaced by the sample
        auto store = open();
        EXPECT_EQ(Workspace{}, store->workspace());
        store->addCollection(collectionNamed("New"));
        const SaveReport first = store->saveNow();
        EXPECT_FALSE(first.failure);
        ASSERT_TRUE(first.notice);
        const auto names = entries(folder.path);
        const auto copy = *std::find_if(names.begin(), names.end(), [](const std::string& name) {
            return name.starts_with("workspace-unreadable-") && name.ends_with("Z.json");
        });
        EXPECT_TRUE(first.notice->starts_with("Note: workspace.json could not be read: ")) << *first.notice;
        EXPECT_TRUE(first.notice->ends_with("\nIts content was kept in " + copy + " before this save replaced workspace.json."))
            << *first.notice;
        EXPECT_EQ(bytes, readFile(copy));
        EXPECT_EQ(0600u, modeOf(folder / copy));
        EXPECT_EQ("New", decodeWorkspace(readFile("workspace.json")).collections.at(0).name);
        EXPECT_FALSE(store->saveNow().notice);
        fs::remove(folder / copy);
    }
}

// Each fault makes the save fail with the reason; the edit stays in memory, and the next save
// that succeeds writes it.
TEST_F(WorkspaceStoreTest, AFailedSaveIsReportedAndTheEditKept) {
    struct Fault {
        std::string name;
        std::function<void()> make;
        std::function<void()> clear;
        std::string reason;
    };
    const std::string path = (folder / "workspace.json").string();
    rlimit unlimited{};
    ::getrlimit(RLIMIT_FSIZE, &unlimited);
    std::signal(SIGXFSZ, SIG_IGN);
    const std::vector<Fault> faults = {
        {"a folder where the file should be",
         [&] {
             fs::remove(path);
             fs::create_directory(path);
         },
         [&] { fs::remove(path); }, "Could not read “" + path + "”: Is a directory"},
        {"a full disk",
         [&] {
             const rlimit small{.rlim_cur = 64, .rlim_max = unlimited.rlim_max};
             ::setrlimit(RLIMIT_FSIZE, &small);
         },
         [&] { ::setrlimit(RLIMIT_FSIZE, &unlimited); }, "Could not write “" + path + "”: File too large"},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.name);
        fault.make();
        auto store = open();
        store->addCollection(collectionNamed("Kept"));
        EXPECT_EQ("Couldn't save workspace: " + fault.reason, store->saveNow().failure);
        fault.clear();
        EXPECT_FALSE(store->saveNow().failure);
        EXPECT_EQ("Kept", decodeWorkspace(readFile("workspace.json")).collections.at(0).name);
        writeFile("workspace.json", encodeWorkspace(Workspace{}));
    }
    std::signal(SIGXFSZ, SIG_DFL);
}

// An outside write that lands between two lines, after the loop's look and before the save:
// the save takes it in first, snapshots what it replaces, and applies its own edit on top.
TEST_F(WorkspaceStoreTest, ASaveTakesInAnOutsideWriteBeforeReplacingTheFile) {
    auto store = open();
    store->addCollection(collectionNamed("Ours"));
    store->saveNow();
    store->reloadIfChanged();
    Workspace theirs = decodeWorkspace(readFile("workspace.json"));
    theirs.environments.push_back(APIEnvironment{.name = "Theirs"});
    atomicFile::write(folder / "workspace.json", encodeWorkspace(theirs));
    store->addCollection(collectionNamed("Second"));
    EXPECT_FALSE(store->saveNow().failure);
    const Workspace saved = decodeWorkspace(readFile("workspace.json"));
    ASSERT_EQ(1u, saved.environments.size());
    EXPECT_EQ("Theirs", saved.environments[0].name);
    ASSERT_EQ(2u, saved.collections.size());
    EXPECT_EQ("Second", saved.collections[1].name);
    EXPECT_EQ("Before external change", reasons(*store).front());
}

TEST_F(WorkspaceStoreTest, TakesInAnExternalChangeWithASnapshotOnlyWhenItIsReal) {
    auto store = open();
    store->addCollection(collectionNamed("Before"));
    store->saveNow();
    store->reloadIfChanged();
    EXPECT_FALSE(store->reloadIfChanged());  // our own write
    atomicFile::write(folder / "workspace.json", encodeWorkspace(workspaceWith("Theirs")));
    const auto before = store->reloadIfChanged();
    ASSERT_TRUE(before);
    EXPECT_EQ("Before", before->collections.at(0).name);
    EXPECT_EQ(workspaceWith("Theirs").collections.at(0).name, store->workspace().collections.at(0).name);
    const auto snapshot = store->versions().at(0);
    EXPECT_EQ("Before external change", snapshot.reason);
    EXPECT_EQ("Before", decodeWorkspace(atomicFile::read(snapshot.url)).collections.at(0).name);
}

// A half-written or newer file from the other process leaves the live workspace alone; the
// next save keeps its bytes before replacing it.
TEST_F(WorkspaceStoreTest, AnUndecodableExternalFileIsIgnoredAndKept) {
    auto store = open();
    store->addCollection(collectionNamed("Kept"));
    store->saveNow();
    writeFile("workspace.json", "{\"version\": 1, \"collec");
    store->reloadIfChanged();
    EXPECT_EQ("Kept", store->workspace().collections.at(0).name);
    const SaveReport report = store->saveNow();
    ASSERT_TRUE(report.notice);
    bool kept = false;
    for (const auto& name : entries(folder.path)) kept |= name.starts_with("workspace-unreadable-");
    EXPECT_TRUE(kept);
}

TEST_F(WorkspaceStoreTest, AWorkspaceFileThatIsALinkStaysALink) {
    const fs::path elsewhere = folder / "elsewhere";
    fs::create_directory(elsewhere);
    fs::rename(folder / "workspace.json", elsewhere / "real.json");
    fs::create_symlink("elsewhere/real.json", folder / "workspace.json");
    auto store = open();
    store->addCollection(collectionNamed("Through the link"));
    EXPECT_FALSE(store->saveNow().failure);
    EXPECT_TRUE(fs::is_symlink(folder / "workspace.json"));
    EXPECT_EQ("Through the link", decodeWorkspace(atomicFile::read(elsewhere / "real.json")).collections.at(0).name);
    EXPECT_EQ(std::vector<std::string>{"real.json"}, entries(elsewhere));
}

TEST_F(WorkspaceStoreTest, OpeningRemovesOnlyStaleTemporaries) {
    const auto old = fs::file_time_type::clock::now() - atomicFile::staleAfter - 1s;
    for (const auto& where : {folder.path, folder / "versions"}) {
        fs::create_directories(where);
        std::ofstream(where / ".workspace.json.0123456789ab.tmp") << "stale";
        fs::last_write_time(where / ".workspace.json.0123456789ab.tmp", old);
        std::ofstream(where / ".workspace.json.ba9876543210.tmp") << "in flight";
        std::ofstream(where / ".notes.tmp") << "not ours";
        fs::last_write_time(where / ".notes.tmp", old);
    }
    open()->workspace();
    EXPECT_EQ((std::vector<std::string>{".notes.tmp", ".workspace.json.ba9876543210.tmp", "history", "versions",
                                        "workspace.json"}),
              entries(folder.path));
    EXPECT_EQ((std::vector<std::string>{".notes.tmp", ".workspace.json.ba9876543210.tmp"}), entries(folder / "versions"));
}

TEST_F(WorkspaceStoreTest, OpeningThinsTheArchive) {
    const VersionArchive archive(folder / "versions");
    const Date tenDaysAgo = std::chrono::floor<std::chrono::days>(now) - std::chrono::days(10) + 12h;
    archive.save("1", "first", tenDaysAgo);
    archive.save("2", "second", tenDaysAgo + 1s);
    open()->workspace();
    const auto kept = archive.list();
    ASSERT_EQ(1u, kept.size());
    EXPECT_EQ("second", kept.front().reason);
}

TEST_F(WorkspaceStoreTest, KeepsTwentyFiveResponsesPerRequestInAPrivateFile) {
    const Uuid requestID = Uuid::random();
    std::vector<Uuid> recorded;
    {
        auto store = open();
        for (int i = 0; i < 26; ++i) {
            StoredResponse response{.requestID = requestID, .status = 200 + i};
            recorded.push_back(response.id);
            EXPECT_FALSE(store->recordAndFlush(response).failure);
        }
        EXPECT_EQ(225, store->responses(requestID).front().status);
    }
    const auto reread = open()->responses(requestID);
    ASSERT_EQ(25u, reread.size());
    EXPECT_EQ(recorded.back(), reread.front().id);
    EXPECT_EQ(recorded[1], reread.back().id);  // the first one recorded is gone
    EXPECT_EQ(0600u, modeOf(folder / "history" / (requestID.text() + ".json")));
}

// Responses the other process recorded are seen by the loop, and kept when we record next.
TEST_F(WorkspaceStoreTest, ResponsesRecordedByAnotherProcessAreSeenAndKept) {
    auto ours = open();
    auto theirs = open();
    const Uuid requestID = Uuid::random();
    EXPECT_TRUE(ours->responses(requestID).empty());
    theirs->recordAndFlush(StoredResponse{.requestID = requestID, .status = 201});
    ours->reloadIfChanged();
    ASSERT_EQ(1u, ours->responses(requestID).size());
    theirs->recordAndFlush(StoredResponse{.requestID = requestID, .status = 202});
    ours->recordAndFlush(StoredResponse{.requestID = requestID, .status = 203});
    std::vector<std::int64_t> statuses;
    for (const auto& response : open()->responses(requestID)) statuses.push_back(response.status);
    EXPECT_EQ((std::vector<std::int64_t>{203, 202, 201}), statuses);
}

TEST_F(WorkspaceStoreTest, AFailedHistoryWriteIsReported) {
    fs::remove_all(folder / "history");
    writeFile("history", "a file where the folder should be");
    auto store = open();
    const Uuid requestID = Uuid::random();
    EXPECT_EQ("Couldn't save the response history: Could not write “" +
                  (folder / "history" / (requestID.text() + ".json")).string() + "”: Not a directory",
              store->recordAndFlush(StoredResponse{.requestID = requestID}).failure);
}

TEST_F(WorkspaceStoreTest, ResolverReadsTheEnvironmentThenTheCollection) {
    auto store = open();
    APICollection collection = collectionNamed("API");
    collection.baseURL = "https://api.test";
    collection.variables = {KeyValue{.key = "region", .value = "collection"}, KeyValue{.key = "only", .value = "c"}};
    store->addCollection(collection);
    APIRequest request{.name = "r"};
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
    APICollection collection = collectionNamed("API");
    store->addCollection(collection);
    const APIRequest request{.name = "b"};
    store->addRequest(request, collection.id, std::nullopt);
    EXPECT_EQ(std::vector<std::string>{"Autosave"}, reasons(*store));
    store->deleteItem(request.id);
    EXPECT_EQ("Before deleting \u201Cb\u201D", reasons(*store).front());
    now += WorkspaceStore::autoVersionInterval;
    store->addCollection(collectionNamed("C"));
    EXPECT_EQ("Autosave", reasons(*store).front());
}

}  // namespace
}  // namespace tessaline
