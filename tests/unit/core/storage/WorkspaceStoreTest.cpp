#include "core/storage/WorkspaceStore.hpp"

#include "TemporaryFolder.hpp"
#include "core/model/ItemTree.hpp"
#include "core/model/WorkspaceCoding.hpp"
#include "core/support/AtomicFile.hpp"
#include "core/support/FileStamp.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <numeric>

#include <fcntl.h>
#include <unistd.h>

namespace tessaline {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

std::vector<std::string> collectionNames(const Workspace& workspace) {
    std::vector<std::string> names;
    for (const auto& collection : workspace.collections) names.push_back(collection.name);
    return names;
}

// Another program that writes workspace.json whenever the store reads its clock, which a save
// does twice in every round that takes in an outside write: it renames a new whole file over it
// each time, so that every round finds one, up to the last round, which replaces the file
// whatever it holds. Then it starts rewriting the file in place, and writes the rest only once
// the store has swapped the file away from its name.
class BusyWriter {
public:
    explicit BusyWriter(fs::path file) : path(std::move(file)) {}
    BusyWriter(const BusyWriter&) = delete;
    BusyWriter& operator=(const BusyWriter&) = delete;
    ~BusyWriter() {
        if (inPlace >= 0) ::close(inPlace);
    }

    void step() {
        if (inPlace >= 0) return finishOnceSwappedOut();
        if (!last.empty()) return;
        const auto bytes = encodeWorkspace(Workspace{.collections = {{.name = "Theirs " + std::to_string(++writes)}}});
        if (writes < 2 * WorkspaceStore::writeRounds) return (void)atomicFile::write(path, bytes);
        last = bytes;
        inPlace = ::open(path.c_str(), O_WRONLY | O_TRUNC);
        ASSERT_EQ(ssize_t(last.size() / 2), ::write(inPlace, last.data(), last.size() / 2));
    }

    std::string last;  // the file it was writing in place
    bool finishedSwappedOut = false;

private:
    void finishOnceSwappedOut() {
        if (FileStamp::of(path)->inode == FileStamp::of(inPlace)->inode) return;
        const std::string rest = last.substr(last.size() / 2);
        ASSERT_EQ(ssize_t(rest.size()), ::write(inPlace, rest.data(), rest.size()));
        ::close(inPlace);
        inPlace = -1;
        finishedSwappedOut = true;
    }

    fs::path path;
    int writes = 0;
    int inPlace = -1;
};

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

// The edit stays in memory, also through an outside write taken in meanwhile, and the next
// save that succeeds writes it.
TEST_F(WorkspaceStoreTest, AFailedSaveIsReportedAndTheEditKept) {
    const fs::path path = folder / "workspace.json";
    fs::remove(path);
    fs::create_directory(path);
    auto store = open();
    store->addCollection({.name = "Kept"});
    EXPECT_EQ("Couldn't save workspace: Could not read “" + path.string() + "”: Is a directory", store->saveNow().failure);
    fs::remove(path);
    atomicFile::write(path, encodeWorkspace(Workspace{.collections = {{.name = "Theirs"}}}));
    store->reloadIfChanged();
    EXPECT_EQ(std::nullopt, store->saveNow().failure);
    EXPECT_EQ((std::vector<std::string>{"Theirs", "Kept"}), collectionNames(onDisk()));
}

// Between two lines the loop's look takes an outside write in; one that lands after the
// look is taken in by the save, which applies its own edit on top. Either way our state is
// snapshotted first.
TEST_F(WorkspaceStoreTest, AnOutsideWriteIsTakenInAfterASnapshot) {
    auto store = open();
    store->addCollection({.name = "Ours"});
    store->saveNow();
    EXPECT_FALSE(store->reloadIfChanged());  // our own write
    atomicFile::write(folder / "workspace.json", encodeWorkspace(Workspace{.collections = {{.name = "Theirs"}}}));
    const auto before = store->reloadIfChanged();
    ASSERT_TRUE(before);
    EXPECT_EQ(std::vector<std::string>{"Ours"}, collectionNames(*before));
    EXPECT_EQ(std::vector<std::string>{"Theirs"}, collectionNames(store->workspace()));
    EXPECT_EQ("Before external change", reasons(*store).front());
    EXPECT_EQ(*before, newestVersion(*store));

    now += 1s;  // snapshots with the same reason in the same millisecond share a file name
    Workspace theirs = onDisk();
    theirs.environments.push_back(APIEnvironment{.name = "Theirs"});
    atomicFile::write(folder / "workspace.json", encodeWorkspace(theirs));
    store->addCollection({.name = "Second"});
    EXPECT_EQ(std::nullopt, store->saveNow().failure);
    EXPECT_EQ(theirs.environments, onDisk().environments);
    EXPECT_EQ((std::vector<std::string>{"Theirs", "Second"}), collectionNames(onDisk()));
    EXPECT_EQ((std::vector<std::string>{"Before external change", "Before external change", "Autosave"}), reasons(*store));
    EXPECT_EQ((std::vector<std::string>{"Theirs", "Second"}), collectionNames(newestVersion(*store)));
}

// The file that the last round of a save swapped out was half-way through being rewritten in
// place; its writer finishes it after the swap, and the snapshot keeps it whole.
TEST_F(WorkspaceStoreTest, AFileSwappedOutHalfWrittenIsKeptOnceItsWriterFinishes) {
    BusyWriter writer(folder / "workspace.json");
    bool busy = false;
    WorkspaceStore store(folder.path, [&] {
        if (busy) writer.step();
        return now;
    });
    store.addCollection({.name = "Ours"});
    atomicFile::write(folder / "workspace.json", encodeWorkspace(Workspace{.collections = {{.name = "Theirs 0"}}}));
    busy = true;
    EXPECT_EQ(std::nullopt, store.saveNow().failure);
    busy = false;
    ASSERT_TRUE(writer.finishedSwappedOut);
    const auto versions = store.versions();
    const auto overwritten = std::find_if(versions.begin(), versions.end(), [](const auto& version) {
        return version.reason == "Overwritten external change";
    });
    ASSERT_NE(versions.end(), overwritten);
    EXPECT_EQ(writer.last, atomicFile::read(overwritten->url));
    EXPECT_EQ((std::vector<std::string>{"Theirs 22", "Ours"}), collectionNames(onDisk()));
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
    const auto notice = store->saveNow().notice.value_or("");  // its text is shown end to end
    const auto start = notice.find("workspace-unreadable-");
    EXPECT_EQ("{\"version\": 1, \"collec", atomicFile::read(folder / notice.substr(start, notice.find(' ', start) - start)));
}

TEST_F(WorkspaceStoreTest, OpeningRemovesStaleTemporariesAndThinsTheArchive) {
    const auto old = fs::file_time_type::clock::now() - atomicFile::staleAfter - 1s;
    for (const auto* name : {".workspace.json.0123456789ab.tmp", ".workspace.json.ba9876543210.tmp", ".notes.tmp"}) {
        writeFile(name, "x");
        if (name != std::string(".workspace.json.ba9876543210.tmp")) fs::last_write_time(folder / name, old);
    }
    const VersionArchive archive(folder / "versions");
    const Date tenDaysAgo = std::chrono::floor<std::chrono::days>(now) - std::chrono::days(10) + 12h;
    archive.save("1", "first", tenDaysAgo);
    archive.save("2", "second", tenDaysAgo + 1s);  // the newest of its day
    writeFile("versions/notes.json", "not a snapshot");
    auto store = open();
    store->workspace();  // the folder is opened on first use
    EXPECT_EQ(std::vector<std::string>{"second"}, reasons(*store));
    // What a save in flight or another program left is not ours to remove.
    EXPECT_EQ((std::vector<std::string>{".notes.tmp", ".workspace.json.ba9876543210.tmp", "history", "versions",
                                        "workspace.json"}),
              entries(folder.path));
    EXPECT_TRUE(fs::exists(folder / "versions" / "notes.json"));
}

// Newest first, at most twenty-five, what another process recorded meanwhile kept, and a
// failed write told.
TEST_F(WorkspaceStoreTest, KeepsTheNewestResponsesOfEveryWriter) {
    const Uuid requestID = Uuid::random();
    const auto statuses = [&](WorkspaceStore& store) {
        std::vector<std::int64_t> result;
        for (const auto& response : store.responses(requestID)) result.push_back(response.status);
        return result;
    };
    auto ours = open(), theirs = open();
    EXPECT_EQ(std::vector<std::int64_t>{}, statuses(*ours));
    theirs->recordAndFlush(StoredResponse{.requestID = requestID, .status = 100});
    ours->reloadIfChanged();
    EXPECT_EQ(std::vector<std::int64_t>{100}, statuses(*ours));
    for (int status = 101; status <= 125; ++status) {
        auto& writer = status % 2 ? ours : theirs;
        const StoredResponse response{.requestID = requestID, .sentAt = Date{} + std::chrono::seconds(status), .status = status};
        EXPECT_EQ(std::nullopt, writer->recordAndFlush(response).failure);
    }
    std::vector<std::int64_t> newestFirst(25);
    std::iota(newestFirst.rbegin(), newestFirst.rend(), 101);
    EXPECT_EQ(newestFirst, statuses(*ours));
    EXPECT_EQ(newestFirst, statuses(*open()));
    fs::remove_all(folder / "history");
    writeFile("history", "a file where the folder should be");
    EXPECT_EQ("Couldn't save the response history: Could not write “" +
                  (folder / "history" / (requestID.text() + ".json")).string() + "”: Not a directory",
              ours->recordAndFlush(StoredResponse{.requestID = requestID}).failure);
}

// The response stays in memory through what another process records meanwhile, and the next
// save that succeeds writes it.
TEST_F(WorkspaceStoreTest, AResponseWhoseHistoryWriteFailedIsKept) {
    const Uuid requestID = Uuid::random();
    const fs::path path = folder / "history" / (requestID.text() + ".json");
    const auto statuses = [&](WorkspaceStore& store) {
        std::vector<std::int64_t> result;
        for (const auto& response : store.responses(requestID)) result.push_back(response.status);
        return result;
    };
    auto store = open();
    fs::create_directories(path);
    EXPECT_EQ("Couldn't save the response history: Could not write “" + path.string() + "”: Is a directory",
              store->recordAndFlush(StoredResponse{.requestID = requestID, .status = 201}).failure);
    fs::remove(path);
    open()->recordAndFlush(StoredResponse{.requestID = requestID, .status = 100});
    store->reloadIfChanged();
    EXPECT_EQ((std::vector<std::int64_t>{201, 100}), statuses(*store));
    store->addCollection({.name = "Any"});
    EXPECT_EQ(std::nullopt, store->saveNow().failure);
    EXPECT_EQ((std::vector<std::int64_t>{201, 100}), statuses(*open()));
}

TEST_F(WorkspaceStoreTest, ResolverReadsTheEnvironmentThenTheCollectionThenTheNewestCompletedResponse) {
    fs::remove(folder / "workspace.json");
    auto store = open();  // the sample, with its environment active
    auto workspace = store->workspace();
    workspace.environments.at(0).variables = {{.key = "region", .value = "env"}};
    store->update(workspace.environments[0]);
    workspace.collections.at(0).variables = {{.key = "region", .value = "collection"}, {.key = "only", .value = "c"}};
    store->update(workspace.collections[0]);
    const auto details = *itemTree::firstRequestNamed(workspace.collections[0].items, "First product details");
    const APIEnvironment other{.name = "Other", .variables = {{.key = "region", .value = "other"}}};
    EXPECT_EQ("env c https://dummyjson.com", store->resolver(details).resolve("{{region}} {{only}} {{baseUrl}}"));
    EXPECT_EQ("other", store->resolver(details, other).resolve("{{region}}"));
    EXPECT_EQ("env {{only}}", store->resolver(std::nullopt).resolve("{{region}} {{only}}"));

    const auto list = *itemTree::firstRequestNamed(workspace.collections[0].items, "List products");
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
