#include "core/support/AtomicFile.hpp"

#include "TemporaryFolder.hpp"
#include "ThrownText.hpp"
#include "core/support/FileStamp.hpp"

#include <gtest/gtest.h>

#include <cstdio>

#include <sys/stat.h>
#include <unistd.h>

namespace tessaline {
namespace {

namespace fs = std::filesystem;

mode_t modeOf(const fs::path& path) {
    struct stat status {};
    ::stat(path.c_str(), &status);
    return status.st_mode & 07777;
}

class AtomicFileTest : public testing::Test {
protected:
    TemporaryFolder folder{"tessaline-atomic"};
    const fs::path target = folder / "workspace.json";
};

TEST_F(AtomicFileTest, ReplacesTheTargetWholeAndLeavesNoTemporary) {
    const std::string binary("\0\x01\xFF", 3);
    atomicFile::write(target, "a much longer first content");
    atomicFile::write(target, binary);
    EXPECT_EQ(binary, atomicFile::read(target));
    atomicFile::write(target, "");
    EXPECT_EQ("", atomicFile::read(target));
    EXPECT_EQ(std::vector<std::string>{"workspace.json"}, entries(folder.path));
    EXPECT_EQ("Could not read “" + (folder / "missing.json").string() + "”: No such file or directory",
              thrownText([&] { atomicFile::read(folder / "missing.json"); }));
    // A write that fails leaves no temporary file behind, and a folder in the way stays.
    fs::remove(target);
    fs::create_directories(target / "inside");
    EXPECT_EQ("Could not write “" + target.string() + "”: Is a directory", thrownText([&] { atomicFile::write(target, "x"); }));
    EXPECT_EQ(std::vector<std::string>{"workspace.json"}, entries(folder.path));
    EXPECT_TRUE(fs::is_directory(target / "inside"));
}

// They hold secrets: what is created is private, what exists keeps the mode its owner gave it.
TEST_F(AtomicFileTest, NewFilesAndFoldersArePrivateAndExistingOnesKeepTheirModes) {
    atomicFile::write(target, "secret");
    EXPECT_EQ(0600u, modeOf(target));
    ::chmod(target.c_str(), 0644);
    atomicFile::write(target, "shared");
    EXPECT_EQ(0644u, modeOf(target));

    ::chmod(folder.path.c_str(), 0750);
    atomicFile::createFolders(folder / "new" / "inner");
    EXPECT_EQ((std::vector<mode_t>{0750u, 0700u, 0700u}),
              (std::vector<mode_t>{modeOf(folder.path), modeOf(folder / "new"), modeOf(folder / "new" / "inner")}));
}

// The bytes must be on disk before the new name points at them, and the new name on disk
// before the write is reported done.
std::vector<std::string> syncSteps;

TEST_F(AtomicFileTest, SyncsTheFileBeforeTheRenameAndTheFolderAfterIt) {
    const atomicFile::SystemCalls watched{
        .sync = [](int fd) {
            struct stat status {};
            ::fstat(fd, &status);
            syncSteps.push_back(S_ISDIR(status.st_mode) ? "sync folder" : "sync file");
            return ::fsync(fd);
        },
        .exchange = [](const char* from, const char* to) {
            syncSteps.push_back("exchange");
            return atomicFile::systemCalls().exchange(from, to);
        },
        .rename = [](const char* from, const char* to) {
            syncSteps.push_back("rename");
            return ::rename(from, to);
        }};
    syncSteps.clear();
    atomicFile::write(target, "first", 0600, watched);
    EXPECT_EQ((std::vector<std::string>{"sync file", "exchange", "rename", "sync folder"}), syncSteps);
    syncSteps.clear();
    EXPECT_EQ("first", atomicFile::write(target, "second", 0600, watched));
    EXPECT_EQ((std::vector<std::string>{"sync file", "exchange", "sync folder"}), syncSteps);
    EXPECT_EQ("second", atomicFile::read(target));
    EXPECT_EQ(std::vector<std::string>{"workspace.json"}, entries(folder.path));
}

TEST_F(AtomicFileTest, FollowsAChainOfLinksAndLeavesThemLinks) {
    atomicFile::createFolders(folder / "real");
    atomicFile::write(folder / "real" / "file.json", "old");
    fs::create_symlink("real/file.json", folder / "middle.json");
    fs::create_symlink(folder / "middle.json", target);
    EXPECT_EQ("old", atomicFile::write(target, "new"));
    EXPECT_TRUE(fs::is_symlink(target));
    EXPECT_TRUE(fs::is_symlink(folder / "middle.json"));
    EXPECT_EQ("new", atomicFile::read(folder / "real" / "file.json"));
    EXPECT_EQ(std::vector<std::string>{"file.json"}, entries(folder / "real"));
}

// Two writes within one tick of the file-system clock may leave both dates alone: the size
// and the inode (every replacement is a new file) still tell them apart.
TEST_F(AtomicFileTest, StampsTellReplacementsApartBySizeAndInode) {
    EXPECT_FALSE(FileStamp::of(target));
    atomicFile::write(target, "one");
    const auto first = FileStamp::of(target);
    EXPECT_EQ(first, FileStamp::of(target));
    atomicFile::write(target, "three");
    const auto second = FileStamp::of(target);
    ASSERT_TRUE(first && second);
    EXPECT_EQ((std::pair<std::uintmax_t, std::uintmax_t>{3, 5}), std::pair(first->size, second->size));
    EXPECT_NE(first->inode, second->inode);
}

}  // namespace
}  // namespace tessaline
