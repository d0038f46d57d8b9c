#include "support/AtomicFile.hpp"

#include "support/FileError.hpp"
#include "support/FileStamp.hpp"
#include "support/Uuid.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

namespace tessaline {
namespace {

namespace fs = std::filesystem;

class AtomicFileTest : public testing::Test {
protected:
    void SetUp() override { fs::create_directories(folder); }
    void TearDown() override {
        fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add);
        fs::remove_all(folder);
    }

    std::vector<std::string> entries() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    const fs::path folder = fs::temp_directory_path() / ("tessaline-atomic-" + Uuid::random().text());
    const fs::path target = folder / "workspace.json";
};

TEST_F(AtomicFileTest, ReplacesTheTargetWholeAndLeavesNoTemporary) {
    atomicFile::write(target, "a much longer first content");
    atomicFile::write(target, "short");
    EXPECT_EQ("short", atomicFile::read(target));
    EXPECT_EQ(std::vector<std::string>{"workspace.json"}, entries());
}

TEST_F(AtomicFileTest, WritesBinaryAndEmptyContent) {
    const std::string binary("\0\x01\xFF", 3);
    atomicFile::write(target, binary);
    EXPECT_EQ(binary, atomicFile::read(target));
    atomicFile::write(target, "");
    EXPECT_EQ("", atomicFile::read(target));
}

TEST_F(AtomicFileTest, ANewFileIsPrivateAndAnExistingOneKeepsItsMode) {
    const auto mode = [&] {
        struct stat status {};
        ::stat(target.c_str(), &status);
        return status.st_mode & 07777;
    };
    atomicFile::write(target, "secret");
    EXPECT_EQ(0600u, mode());
    ::chmod(target.c_str(), 0644);
    atomicFile::write(target, "shared");
    EXPECT_EQ(0644u, mode());
}

// The bytes must be on disk before the new name points at them, and the new name on disk
// before the write is reported done.
std::vector<std::string> syncSteps;

TEST_F(AtomicFileTest, SyncsTheFileBeforeTheRenameAndTheFolderAfterIt) {
    const atomicFile::SystemCalls watched{
        .sync =
            [](int fd) {
                struct stat status {};
                ::fstat(fd, &status);
                syncSteps.push_back(S_ISDIR(status.st_mode) ? "sync folder" : "sync file");
                return ::fsync(fd);
            },
        .exchange =
            [](const char* from, const char* to) {
                syncSteps.push_back("exchange");
                return atomicFile::systemCalls().exchange(from, to);
            },
        .rename =
            [](const char* from, const char* to) {
                syncSteps.push_back("rename");
                return ::rename(from, to);
            }};
    atomicFile::write(target, "first", 0600, watched);
    EXPECT_EQ((std::vector<std::string>{"sync file", "exchange", "rename", "sync folder"}), syncSteps);
    syncSteps.clear();
    EXPECT_EQ("first", atomicFile::write(target, "second", 0600, watched));
    EXPECT_EQ((std::vector<std::string>{"sync file", "exchange", "sync folder"}), syncSteps);
    EXPECT_EQ("second", atomicFile::read(target));
    EXPECT_EQ(std::vector<std::string>{"workspace.json"}, entries());
}

TEST_F(AtomicFileTest, FollowsAChainOfLinksAndLeavesThemLinks) {
    fs::create_directories(folder / "real");
    atomicFile::write(folder / "real" / "file.json", "old");
    fs::create_symlink("real/file.json", folder / "middle.json");
    fs::create_symlink(folder / "middle.json", target);
    EXPECT_EQ("old", atomicFile::write(target, "new"));
    EXPECT_TRUE(fs::is_symlink(target));
    EXPECT_TRUE(fs::is_symlink(folder / "middle.json"));
    EXPECT_EQ("new", atomicFile::read(folder / "real" / "file.json"));
    EXPECT_EQ(std::vector<std::string>{"file.json"}, [&] {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder / "real")) names.push_back(entry.path().filename().string());
        return names;
    }());
}

// Permissions do not stop root, so the write is tried in a child process that gives up root.
TEST_F(AtomicFileTest, FailureInAReadOnlyFolderIsReportedAndLeavesTheOldFile) {
    atomicFile::write(target, "old");
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                fs::perms::others_exec | fs::perms::group_read | fs::perms::group_exec);
    EXPECT_EXIT(
        {
            if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) std::exit(2);
            try {
                atomicFile::write(target, "new");
            } catch (const FileError& error) {
                std::fputs(error.what(), stderr);
                std::exit(0);
            }
            std::exit(1);
        },
        testing::ExitedWithCode(0), "^Could not write “.*/workspace\\.json”: Permission denied$");
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_EQ("old", atomicFile::read(target));
    EXPECT_EQ(std::vector<std::string>{"workspace.json"}, entries());
}

TEST_F(AtomicFileTest, AFolderAtTheTargetIsNeverMoved) {
    fs::create_directories(target / "inside");
    EXPECT_THROW(atomicFile::write(target, "x"), FileError);
    EXPECT_EQ(std::vector<std::string>{"workspace.json"}, entries());
    EXPECT_TRUE(fs::is_directory(target / "inside"));
}

TEST_F(AtomicFileTest, ReadingAMissingFileFails) {
    try {
        atomicFile::read(folder / "missing.json");
        FAIL();
    } catch (const FileError& error) {
        EXPECT_EQ("Could not read “" + (folder / "missing.json").string() + "”: No such file or directory",
                  std::string(error.what()));
    }
}

TEST_F(AtomicFileTest, StampChangesWithEveryReplacement) {
    EXPECT_FALSE(FileStamp::of(target));
    atomicFile::write(target, "one");
    const auto first = FileStamp::of(target);
    ASSERT_TRUE(first);
    EXPECT_EQ(3u, first->size);
    EXPECT_EQ(first, FileStamp::of(target));
    // Same size, possibly within the same clock tick: the new inode still tells them apart.
    atomicFile::write(target, "two");
    const auto second = FileStamp::of(target);
    ASSERT_TRUE(second);
    EXPECT_NE(*first, *second);
    EXPECT_NE(first->inode, second->inode);
}

}  // namespace
}  // namespace tessaline
