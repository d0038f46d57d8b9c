#include "desktop/editing/WorkspaceDiff.hpp"

#include "core/model/ItemTree.hpp"

#include <gtest/gtest.h>

#include <functional>

namespace tessaline {
namespace {

using Kind = WorkspaceChange::Kind;
using Entity = WorkspaceChange::Entity;

TEST(WorkspaceDiffTest, ChangesAndTheirSummary) {
    // Shop: [Auth: Login, Me], List products; Blog: Posts. Environment "Dev".
    const APIRequest login{.name = "Login", .url = "/auth/login"}, me{.name = "Me", .url = "/auth/me"};
    const APIRequest list{.name = "List products", .url = "/products"}, posts{.name = "Posts", .url = "/posts"};
    const Folder auth{Uuid::random(), "Auth", {login, me}};
    const APICollection shop{.name = "Shop", .items = {auth, list}}, blog{.name = "Blog", .items = {posts}};
    const APIEnvironment dev{.name = "Dev", .variables = {{.key = "token", .value = "abc"}}};
    const Workspace original{.collections = {shop, blog}, .environments = {dev}};
    const APIRequest alpha{.name = "Alpha"}, zeta{.name = "Zeta"};
    const APICollection added{.name = "New", .items = {APIRequest{.name = "Inside"}}};
    const APIEnvironment staging{.name = "Staging"};

    struct Case {
        std::string name;
        std::function<void(Workspace&)> edit;
        std::vector<WorkspaceChange> expected;
        std::string summary;
    };
    const std::vector<Case> cases{
        {"nothing", [](Workspace&) {}, {}, "Same as now"},
        {"fields in their order",
         [&](Workspace& w) {
             auto edited = me;
             edited.headers.push_back({.key = "Accept"});
             edited.url = "/auth/me?full=1";
             itemTree::replaceRequest(w.collections[0].items, edited);
         },
         {{Kind::modified, Entity::request, me.id, "Me", "URL, headers"}},
         "Me changed"},
        {"out of a folder",
         [&](Workspace& w) {
             itemTree::remove(w.collections[0].items, me.id);
             itemTree::insertIntoFolder(w.collections[0].items, me, std::nullopt);
         },
         {{Kind::moved, Entity::request, me.id, "Me", "was in Auth"}},
         "Me moved"},
        {"moved and edited",
         [&](Workspace& w) {
             itemTree::remove(w.collections[0].items, list.id);
             auto head = list;
             head.method = HTTPMethod::head;
             itemTree::insertIntoFolder(w.collections[1].items, head, std::nullopt);
         },
         {{Kind::modified, Entity::request, list.id, "List products", "method"},
          {Kind::moved, Entity::request, list.id, "List products", "was in Shop"}},
         "2 differences"},
        {"a renamed folder",
         [&](Workspace& w) { itemTree::renameFolder(w.collections[0].items, auth.id, "Sign-in"); },
         {{Kind::modified, Entity::folder, auth.id, "Sign-in", "name"}},
         "Sign-in changed"},
        {"a removed collection stands for its requests",
         [](Workspace& w) { w.collections.erase(w.collections.begin()); },
         {{Kind::removed, Entity::collection, shop.id, "Shop", "3 requests"}},
         "Shop removed"},
        {"environments by id",
         [&](Workspace& w) {
             w.environments[0].name = "Development";
             w.environments[0].variables[0].value = "xyz";
             w.environments.push_back(staging);
         },
         {{Kind::added, Entity::environment, staging.id, "Staging", ""},
          {Kind::modified, Entity::environment, dev.id, "Development", "name, variables"}},
         "2 differences"},
        {"sorted by entity, kind and name",
         [&](Workspace& w) {
             itemTree::insertIntoFolder(w.collections[0].items, zeta, auth.id);
             itemTree::insertIntoFolder(w.collections[0].items, alpha, std::nullopt);
             itemTree::remove(w.collections[0].items, list.id);
             w.collections[0].name = "Store";
             w.collections.push_back(added);
             w.environments.clear();
         },
         {{Kind::added, Entity::collection, added.id, "New", "1 request"},
          {Kind::modified, Entity::collection, shop.id, "Store", "name"},
          {Kind::added, Entity::request, alpha.id, "Alpha", ""},
          {Kind::added, Entity::request, zeta.id, "Zeta", ""},
          {Kind::removed, Entity::request, list.id, "List products", ""},
          {Kind::removed, Entity::environment, dev.id, "Dev", ""}},
         "6 differences"},
    };
    for (const auto& c : cases) {
        auto edited = original;
        c.edit(edited);
        const auto changes = workspaceDiff::changes(original, edited);
        EXPECT_EQ(c.expected, changes) << c.name;
        EXPECT_EQ(c.summary, workspaceDiff::summary(changes)) << c.name;
    }
    EXPECT_EQ("request-" + login.id.text() + "-modified", WorkspaceChange{.entityID = login.id}.id());
}

}  // namespace
}  // namespace tessaline
