#include "storage/WorkspaceDiff.hpp"

#include "model/ItemTree.hpp"

#include <gtest/gtest.h>

#include <functional>

namespace tessaline {
namespace {

using Kind = WorkspaceChange::Kind;
using Entity = WorkspaceChange::Entity;

// Shop: [Auth: Login, Me], List products; Blog: Posts. Environment "Dev".
struct Fixture {
    APIRequest login{.name = "Login", .method = HTTPMethod::post, .url = "/auth/login"};
    APIRequest me{.name = "Me", .url = "/auth/me"};
    APIRequest list{.name = "List products", .url = "/products"};
    APIRequest posts{.name = "Posts", .url = "/posts"};
    Folder auth{Uuid::random(), "Auth", {login, me}};
    APICollection shop{.name = "Shop", .items = {auth, list}};
    APICollection blog{.name = "Blog", .items = {posts}};
    APIEnvironment dev{.name = "Dev", .variables = {{.key = "token", .value = "abc"}}};
    Workspace workspace{.collections = {shop, blog}, .environments = {dev}};

    APICollection& newShop(Workspace& copy) const { return copy.collections[0]; }
    void update(Workspace& copy, const APIRequest& request) const {
        for (auto& collection : copy.collections) itemTree::replaceRequest(collection.items, request);
    }
};

TEST(WorkspaceDiffTest, EqualWorkspacesHaveNoChanges) {
    const Fixture fixture;
    const auto changes = workspaceDiff::changes(fixture.workspace, fixture.workspace);
    EXPECT_TRUE(changes.empty());
    EXPECT_EQ("Same as now", workspaceDiff::summary(changes));
}

TEST(WorkspaceDiffTest, RenamedRequestIsOneModification) {
    const Fixture fixture;
    auto renamed = fixture.workspace;
    auto login = fixture.login;
    login.name = "Sign in";
    fixture.update(renamed, login);

    const auto changes = workspaceDiff::changes(fixture.workspace, renamed);
    ASSERT_EQ(1U, changes.size());
    EXPECT_EQ((WorkspaceChange{Kind::modified, Entity::request, login.id, "Sign in", "name"}), changes[0]);
    EXPECT_EQ("request-" + login.id.text() + "-modified", changes[0].id());
    EXPECT_EQ("Sign in changed", workspaceDiff::summary(changes));
}

TEST(WorkspaceDiffTest, ModifiedRequestListsItsFieldsInOrder) {
    const Fixture fixture;
    auto edited = fixture.workspace;
    auto me = fixture.me;
    me.headers.push_back({.key = "Accept", .value = "application/json"});
    me.url = "/auth/me?full=1";
    fixture.update(edited, me);
    EXPECT_EQ("URL, headers", workspaceDiff::changes(fixture.workspace, edited).at(0).detail);
}

TEST(WorkspaceDiffTest, RequestFieldNames) {
    const APIRequest base{.name = "R", .query = {{.key = "q", .value = "1"}}};
    const std::vector<std::pair<std::function<void(APIRequest&)>, std::vector<std::string>>> cases{
        {[](APIRequest& r) { r.method = HTTPMethod::delete_; }, {"method"}},
        {[](APIRequest& r) { r.query[0].enabled = false; }, {"params"}},
        {[](APIRequest& r) { r.body.kind = BodyKind::json; }, {"body"}},
        {[](APIRequest& r) { r.auth.kind = AuthKind::inherit; }, {"auth"}},
        {[](APIRequest& r) { r.notes = "read me"; }, {"docs"}},
        {[](APIRequest& r) { r.timeout = 5; }, {"settings"}},
        {[](APIRequest& r) { r.followRedirects = false; }, {"settings"}},
        {[](APIRequest& r) { r.name = "S", r.notes = "n", r.query.clear(); }, {"name", "params", "docs"}},
    };
    for (const auto& [edit, fields] : cases) {
        auto edited = base;
        edit(edited);
        EXPECT_EQ(fields, workspaceDiff::requestFields(base, edited));
    }
}

TEST(WorkspaceDiffTest, CollectionFieldNames) {
    const APICollection base{.name = "C"};
    auto edited = base;
    edited.baseURL = "https://example.test";
    edited.color = "amber";
    edited.variables.push_back({.key = "id", .value = "1"});
    EXPECT_EQ((std::vector<std::string>{"base URL", "variables", "appearance"}),
              workspaceDiff::collectionFields(base, edited));
    edited = base;
    edited.notes = "docs";
    edited.auth.kind = AuthKind::bearer;
    EXPECT_EQ((std::vector<std::string>{"auth", "docs"}), workspaceDiff::collectionFields(base, edited));
}

TEST(WorkspaceDiffTest, MovingOutOfAFolderNamesTheFolder) {
    const Fixture fixture;
    auto moved = fixture.workspace;
    itemTree::remove(fixture.newShop(moved).items, fixture.me.id);
    itemTree::insertIntoFolder(fixture.newShop(moved).items, fixture.me, std::nullopt);

    const auto changes = workspaceDiff::changes(fixture.workspace, moved);
    ASSERT_EQ(1U, changes.size());
    EXPECT_EQ((WorkspaceChange{Kind::moved, Entity::request, fixture.me.id, "Me", "was in Auth"}), changes[0]);
    EXPECT_EQ("Me moved", workspaceDiff::summary(changes));
}

TEST(WorkspaceDiffTest, MovedAndEditedItemCarriesBothChanges) {
    const Fixture fixture;
    auto moved = fixture.workspace;
    auto list = fixture.list;
    list.method = HTTPMethod::head;
    itemTree::remove(fixture.newShop(moved).items, list.id);
    itemTree::insertIntoFolder(moved.collections[1].items, list, std::nullopt);

    const auto changes = workspaceDiff::changes(fixture.workspace, moved);
    EXPECT_EQ((std::vector<WorkspaceChange>{{Kind::modified, Entity::request, list.id, "List products", "method"},
                                            {Kind::moved, Entity::request, list.id, "List products", "was in Shop"}}),
              changes);
    EXPECT_EQ("2 differences", workspaceDiff::summary(changes));
}

TEST(WorkspaceDiffTest, RenamedFolderIsModifiedByName) {
    const Fixture fixture;
    auto renamed = fixture.workspace;
    itemTree::renameFolder(fixture.newShop(renamed).items, fixture.auth.id, "Sign-in");
    EXPECT_EQ((std::vector<WorkspaceChange>{{Kind::modified, Entity::folder, fixture.auth.id, "Sign-in", "name"}}),
              workspaceDiff::changes(fixture.workspace, renamed));
}

TEST(WorkspaceDiffTest, RemovedCollectionCountsItsRequestsAndStandsForThem) {
    const Fixture fixture;
    auto withoutShop = fixture.workspace;
    withoutShop.collections.erase(withoutShop.collections.begin());
    const auto changes = workspaceDiff::changes(fixture.workspace, withoutShop);
    EXPECT_EQ((std::vector<WorkspaceChange>{{Kind::removed, Entity::collection, fixture.shop.id, "Shop", "3 requests"}}),
              changes);
    EXPECT_EQ("Shop removed", workspaceDiff::summary(changes));

    auto withoutBlog = fixture.workspace;
    withoutBlog.collections.pop_back();
    EXPECT_EQ("1 request", workspaceDiff::changes(fixture.workspace, withoutBlog).at(0).detail);
    EXPECT_EQ("0 requests", workspaceDiff::changes(Workspace{}, Workspace{.collections = {{.name = "E"}}}).at(0).detail);
}

TEST(WorkspaceDiffTest, EnvironmentsAreMatchedByID) {
    const Fixture fixture;
    auto edited = fixture.workspace;
    edited.environments[0].name = "Development";
    edited.environments[0].variables[0].value = "xyz";
    const APIEnvironment staging{.name = "Staging"};
    edited.environments.push_back(staging);
    EXPECT_EQ((std::vector<WorkspaceChange>{
                  {Kind::added, Entity::environment, staging.id, "Staging", ""},
                  {Kind::modified, Entity::environment, fixture.dev.id, "Development", "name, variables"},
              }),
              workspaceDiff::changes(fixture.workspace, edited));
    EXPECT_EQ((std::vector<WorkspaceChange>{{Kind::removed, Entity::environment, fixture.dev.id, "Dev", ""}}),
              workspaceDiff::changes(fixture.workspace, Workspace{.collections = fixture.workspace.collections}));
}

TEST(WorkspaceDiffTest, ListIsSortedByEntityKindAndName) {
    const Fixture fixture;
    auto edited = fixture.workspace;
    const APIRequest zeta{.name = "Zeta"}, alpha{.name = "Alpha"};
    itemTree::insertIntoFolder(fixture.newShop(edited).items, zeta, fixture.auth.id);
    itemTree::insertIntoFolder(fixture.newShop(edited).items, alpha, std::nullopt);
    itemTree::remove(fixture.newShop(edited).items, fixture.list.id);
    fixture.newShop(edited).name = "Store";
    const APICollection added{.name = "New", .items = {APIRequest{.name = "Inside"}}};
    edited.collections.push_back(added);
    edited.environments.clear();

    std::vector<std::string> ids;
    for (const auto& change : workspaceDiff::changes(fixture.workspace, edited)) ids.push_back(change.id());
    EXPECT_EQ((std::vector<std::string>{
                  "collection-" + added.id.text() + "-added",
                  "collection-" + fixture.shop.id.text() + "-modified",
                  "request-" + alpha.id.text() + "-added",
                  "request-" + zeta.id.text() + "-added",
                  "request-" + fixture.list.id.text() + "-removed",
                  "environment-" + fixture.dev.id.text() + "-removed",
              }),
              ids);
}

TEST(WorkspaceDiffTest, FlattenPlacesEveryItem) {
    const Fixture fixture;
    const auto places = workspaceDiff::flatten(fixture.workspace);
    EXPECT_EQ(5U, places.size());
    EXPECT_EQ((workspaceDiff::Placed{fixture.me, fixture.shop.id, fixture.auth.id}), places.at(fixture.me.id));
    EXPECT_EQ((workspaceDiff::Placed{fixture.auth, fixture.shop.id, std::nullopt}), places.at(fixture.auth.id));
    EXPECT_EQ((workspaceDiff::Placed{fixture.posts, fixture.blog.id, std::nullopt}), places.at(fixture.posts.id));
}

}  // namespace
}  // namespace tessaline
