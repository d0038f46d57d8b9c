#include "storage/RequestRevision.hpp"

#include "model/WorkspaceCoding.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

TEST(RequestRevisionTest, ListsDistinctConsecutiveStatesNewestFirst) {
    const auto folder = std::filesystem::temp_directory_path() / "tessaline-request-revisions";
    std::filesystem::remove_all(folder);
    const VersionArchive archive(folder);

    APIRequest login{.name = "Login", .url = "/auth/login"};
    const APIRequest other{.name = "Other"};
    Workspace workspace{.collections = {{.name = "Shop", .items = {login, other}}}};
    const auto save = [&](const std::string& reason, int second) {
        return *archive.save(encodeWorkspace(workspace), reason, sys_days{2025y / March / 1} + seconds(second));
    };
    save("first", 1);  // the same Login as "second": one revision, dated by the newer
    workspace.collections[0].items[1].request()->url = "/elsewhere";  // Login stays as it was
    save("second", 2);
    archive.save("{ damaged", "damaged", sys_days{2025y / March / 1} + 3s);
    login.url = "/auth/login?v=2";
    workspace.collections[0].items[0] = login;
    const auto third = save("third", 4);
    workspace.collections[0].items.erase(workspace.collections[0].items.begin());
    save("deleted", 5);

    const auto revisions = requestRevisions(archive, login.id);
    ASSERT_EQ(2U, revisions.size());
    EXPECT_EQ((RequestRevision{third, login}), revisions[0]);
    EXPECT_EQ("second", revisions[1].version.reason);
    EXPECT_EQ("/auth/login", revisions[1].request.url);
    EXPECT_TRUE(requestRevisions(archive, Uuid::random()).empty());
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace tessaline
