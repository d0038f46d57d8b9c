#include "core/support/WatchedFile.hpp"

#include "TemporaryFolder.hpp"
#include "core/support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace tessaline {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

WatchedFile::Content content(const std::string& bytes) { return {.bytes = bytes}; }

class WatchedFileTest : public testing::Test {
protected:
    // Rewrites the file in place: same inode, and here the same size.
    void rewrite(const std::string& bytes) { std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes; }

    TemporaryFolder folder{"tessaline-watched"};
    const fs::path path = folder / "watched.json";
};

TEST_F(WatchedFileTest, OurOwnWriteIsNoChangeAndAnotherWriteIs) {
    WatchedFile file(path);
    EXPECT_EQ(WatchedFile::Content{}, file.change());  // first look: missing
    EXPECT_FALSE(file.change());
    file.write("ours");
    EXPECT_FALSE(file.change());
    atomicFile::write(path, "theirs");
    EXPECT_EQ(content("theirs"), file.change());
    EXPECT_FALSE(file.change());
    fs::remove(path);
    EXPECT_EQ(WatchedFile::Content{}, file.change());
    fs::create_directory(path);
    EXPECT_EQ(WatchedFile::Content{.failure = "Could not read “" + path.string() + "”: Is a directory"}, file.change());
}

// The write hands back what it swapped out when that is not what we last saw, still open: a
// program caught half-way through rewriting it in place sends the rest there, not to our file.
TEST_F(WatchedFileTest, AWriteReturnsWhatAnotherProgramWroteAtTheLastMoment) {
    WatchedFile file(path);
    file.write("ours");
    EXPECT_FALSE(file.write("ours again"));
    atomicFile::write(path, "theirs");
    const auto theirs = file.write("ours at last");
    ASSERT_TRUE(theirs);
    EXPECT_EQ("theirs", theirs->bytes());

    const int inPlace = ::open(path.c_str(), O_WRONLY | O_TRUNC);
    ASSERT_EQ(6, ::write(inPlace, "{\"half", 6));
    auto swapped = file.write("ours once more");
    ASSERT_EQ(5, ::write(inPlace, "\": 1}", 5));
    ::close(inPlace);
    ASSERT_TRUE(swapped);
    EXPECT_EQ("{\"half", swapped->bytes());
    EXPECT_EQ("{\"half\": 1}", swapped->changeWithin(10s));  // returns as soon as the file changes
    EXPECT_FALSE(swapped->changeWithin(10ms));
    EXPECT_EQ("ours once more", atomicFile::read(path));
    EXPECT_EQ(std::vector<std::string>{"watched.json"}, entries(folder.path));
}

// Only the modification time tells: same size, same inode, and long after the racy window,
// so the bytes are not compared unless the stamp says so.
TEST_F(WatchedFileTest, ASameSizeRewriteAfterTheRacyWindowIsSeenByItsStamp) {
    const auto hourAgo = fs::file_time_type::clock::now() - 1h;
    rewrite("AAAA");
    fs::last_write_time(path, hourAgo);
    WatchedFile file(path);
    file.read();
    rewrite("BBBB");
    fs::last_write_time(path, hourAgo + 1s);
    EXPECT_EQ(content("BBBB"), file.change());
}

// A file-system clock tick can hide a second write entirely: the stamp reader here returns
// the same stamp whatever the file holds, as within one tick.
std::optional<FileStamp> frozenStamp(const fs::path&) { return FileStamp{.size = 4, .inode = 1}; }

// Fixed times, so that a window shrunk to nothing fails here.
TEST_F(WatchedFileTest, AWriteWithinTheRacyWindowIsSeenByItsBytes) {
    rewrite("AAAA");
    const Date modified{};
    WatchedFile recent(path, fixedClock(modified + 49ms), frozenStamp);
    recent.read();
    rewrite("BBBB");
    EXPECT_EQ(content("BBBB"), recent.change());

    WatchedFile settled(path, fixedClock(modified + 50ms), frozenStamp);
    settled.read();
    rewrite("CCCC");
    EXPECT_FALSE(settled.change());  // trusted: the stamp was taken after the window
}

// A program that writes the file in place is caught half-way; the rest follows a moment later.
TEST_F(WatchedFileTest, ChangeWithinWaitsForAWriteInProgress) {
    rewrite("{\"half");
    WatchedFile file(path);
    file.read();
    EXPECT_FALSE(file.changeWithin(10ms));
    std::thread writer([this] {
        std::this_thread::sleep_for(5ms);
        std::ofstream(path, std::ios::binary | std::ios::app) << "\": 1}";
    });
    const auto finished = file.changeWithin(10s);  // returns as soon as the file changes
    writer.join();
    EXPECT_EQ(content("{\"half\": 1}"), finished);
}

// The look just before the replacement leaves what another program wrote in place, for
// change() to take in; nothing of ours is left behind.
TEST_F(WatchedFileTest, AWriteUnlessChangedLeavesAnotherProgramsWriteAlone) {
    WatchedFile file(path);
    file.write("ours");
    const auto again = file.writeUnlessChanged("ours again");
    EXPECT_TRUE(again.done && !again.replaced);
    atomicFile::write(path, "theirs");
    EXPECT_FALSE(file.writeUnlessChanged("ours at last").done);
    EXPECT_EQ("theirs", atomicFile::read(path));
    EXPECT_EQ(std::vector<std::string>{"watched.json"}, entries(folder.path));
    EXPECT_EQ(content("theirs"), file.change());
}
}  // namespace
}  // namespace tessaline
