#include "storage/RequestRevision.hpp"

#include "TemporaryFolder.hpp"
#include "model/WorkspaceCoding.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

TEST(RequestRevisionTest, ListsDistinctConsecutiveStatesNewestFirst) {
    const TemporaryFolder folder{"tessaline-revisions"};
    const VersionArchive archive(folder.path);
    APIRequest login{.name = "Login", .url = "/auth/login"};
    Workspace workspace{.collections = {{.name = "Shop", .items = {login, APIRequest{.name = "Other"}}}}};
    const auto save = [&](const std::string& reason, int second) {
        return *archive.save(encodeWorkspace(workspace), reason, sys_days{2025y / March / 1} + seconds(second));
    };
    save("first", 1);  // the same Login as "second": one revision, dated by the newer
    workspace.collections[0].items[1].request()->url = "/elsewhere";  // Login stays as it was
    const auto second = save("second", 2);
    archive.save("{ damaged", "damaged", sys_days{2025y / March / 1} + 3s);
    const APIRequest before = login;
    login.url = "/auth/login?v=2";
    workspace.collections[0].items[0] = login;
    const auto third = save("third", 4);
    workspace.collections[0].items.erase(workspace.collections[0].items.begin());
    save("deleted", 5);

    EXPECT_EQ((std::vector<RequestRevision>{{third, login}, {second, before}}), requestRevisions(archive, login.id));
    EXPECT_TRUE(requestRevisions(archive, Uuid::random()).empty());
}

}  // namespace
}  // namespace tessaline
