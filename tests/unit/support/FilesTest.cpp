#include "support/Files.hpp"

#include "support/Error.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tessaline {
namespace {

class FilesTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder = std::filesystem::temp_directory_path() /
                 ("tessaline-files-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::size_t entryCount() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }

    std::filesystem::path folder;
};

TEST_F(FilesTest, WriteReplacesTheFileWholeAndLeavesNothingBeside) {
    const auto path = folder / "workspace.json";
    EXPECT_FALSE(files::read(path));
    files::writeAtomically(path, "first");
    files::writeAtomically(path, std::string("sec\0ond", 7));
    EXPECT_EQ(std::string("sec\0ond", 7), files::read(path));
    EXPECT_EQ(1U, entryCount());
}

TEST_F(FilesTest, WriteSetsTheRequestedMode) {
    const auto path = folder / "oauth-tokens.json";
    files::writeAtomically(path, "{}", 0600);
    struct stat info {};
    ASSERT_EQ(0, ::stat(path.c_str(), &info));
    EXPECT_EQ(0600U, info.st_mode & 0777U);
}

TEST_F(FilesTest, FailedWriteNamesTheFileAndTheReason) {
    try {
        files::writeAtomically(folder / "missing" / "workspace.json", "{}");
        FAIL() << "wrote into a missing folder";
    } catch (const Error& error) {
        EXPECT_EQ("Couldn't write “workspace.json”: No such file or directory", std::string(error.what()));
    }
    EXPECT_EQ(0U, entryCount());
}

}  // namespace
}  // namespace tessaline
