#include "storage/SampleWorkspace.hpp"

#include "model/ItemTree.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

namespace tessaline {
namespace {

std::vector<std::string> folderNames(const APICollection& collection) {
    std::vector<std::string> names;
    for (const auto& item : collection.items) names.push_back(item.name());
    return names;
}

std::vector<std::pair<std::string, std::string>> rows(const std::vector<KeyValue>& keyValues) {
    std::vector<std::pair<std::string, std::string>> result;
    for (const auto& row : keyValues) result.emplace_back(row.key, row.value);
    return result;
}

APIRequest requestNamed(const APICollection& collection, std::string_view name) {
    const auto request = itemTree::firstRequestNamed(collection.items, name);
    EXPECT_TRUE(request) << name;
    return request.value_or(APIRequest{});
}

TEST(SampleWorkspaceTest, WorkspaceHoldsOneCollectionAndTheActiveDemoEnvironment) {
    const auto workspace = sampleWorkspace::starterWorkspace();
    EXPECT_EQ(Workspace::currentVersion, workspace.version);
    ASSERT_EQ(1U, workspace.collections.size());
    ASSERT_EQ(1U, workspace.environments.size());
    ASSERT_NE(nullptr, workspace.activeEnvironment());
    EXPECT_EQ("DummyJSON", workspace.activeEnvironment()->name);
    EXPECT_EQ((std::vector<std::pair<std::string, std::string>>{{"username", "emilys"}, {"password", "emilyspass"}}),
              rows(workspace.environments[0].variables));

    const auto& collection = workspace.collections[0];
    EXPECT_EQ((std::vector<std::string>{"Auth", "Chained flows", "Products", "Users", "Carts", "Posts & more"}),
              folderNames(collection));
    EXPECT_EQ(42U, itemTree::allRequests(collection.items).size());
    EXPECT_EQ(42U, sampleWorkspace::starterNames().size());
}

TEST(SampleWorkspaceTest, CollectionSettings) {
    const auto collection = sampleWorkspace::starterCollection();
    EXPECT_EQ("DummyJSON", collection.name);
    EXPECT_EQ("https://dummyjson.com", collection.baseURL);
    EXPECT_EQ("shippingbox.fill", collection.icon);
    EXPECT_EQ("amber", collection.color);
    EXPECT_EQ(Auth::none(), collection.auth);
    EXPECT_EQ("DummyJSON is a free fake REST API for prototyping: https://dummyjson.com/docs\n"
              "Writes are simulated: responses look real, nothing persists.",
              collection.notes);
    EXPECT_EQ((std::vector<std::pair<std::string, std::string>>{
                  {"productId", "1"}, {"category", "smartphones"}, {"userId", "1"}, {"cartId", "1"}, {"postId", "1"}}),
              rows(collection.variables));
}

TEST(SampleWorkspaceTest, EveryRequestByNameMethodAndPath) {
    const std::vector<std::tuple<std::string, HTTPMethod, std::string>> expected{
        {"Login", HTTPMethod::post, "/auth/login"},
        {"Me", HTTPMethod::get, "/auth/me"},
        {"Refresh token", HTTPMethod::post, "/auth/refresh"},
        {"My products (auth)", HTTPMethod::get, "/auth/products"},
        {"My carts (auth)", HTTPMethod::get, "/auth/carts"},
        {"My posts", HTTPMethod::get, "/posts/user/{{@Login.body.id}}"},
        {"My todos", HTTPMethod::get, "/todos/user/{{@Login.body.id}}"},
        {"First product details", HTTPMethod::get, "/products/{{@List products.body.products.0.id}}"},
        {"Comments on first post", HTTPMethod::get, "/posts/{{@Posts.body.posts.0.id}}/comments"},
        {"List products", HTTPMethod::get, "/products"},
        {"Product by id", HTTPMethod::get, "/products/{{productId}}"},
        {"Products in category", HTTPMethod::get, "/products/category/{{category}}"},
        {"Search products", HTTPMethod::get, "/products/search"},
        {"Category list", HTTPMethod::get, "/products/category-list"},
        {"Add product", HTTPMethod::post, "/products/add"},
        {"Replace product", HTTPMethod::put, "/products/{{productId}}"},
        {"Patch product price", HTTPMethod::patch, "/products/{{productId}}"},
        {"Delete product", HTTPMethod::delete_, "/products/{{productId}}"},
        {"List users", HTTPMethod::get, "/users"},
        {"User by id", HTTPMethod::get, "/users/{{userId}}"},
        {"Search users", HTTPMethod::get, "/users/search"},
        {"Filter users", HTTPMethod::get, "/users/filter"},
        {"Add user", HTTPMethod::post, "/users/add"},
        {"Patch user", HTTPMethod::patch, "/users/{{userId}}"},
        {"Delete user", HTTPMethod::delete_, "/users/{{userId}}"},
        {"Cart by id", HTTPMethod::get, "/carts/{{cartId}}"},
        {"User's carts", HTTPMethod::get, "/carts/user/{{userId}}"},
        {"Add cart", HTTPMethod::post, "/carts/add"},
        {"Update cart (merge)", HTTPMethod::put, "/carts/{{cartId}}"},
        {"Delete cart", HTTPMethod::delete_, "/carts/{{cartId}}"},
        {"Posts", HTTPMethod::get, "/posts"},
        {"Post by id", HTTPMethod::get, "/posts/{{postId}}"},
        {"Search posts", HTTPMethod::get, "/posts/search"},
        {"Posts by tag", HTTPMethod::get, "/posts/tag/history"},
        {"Post comments", HTTPMethod::get, "/posts/{{postId}}/comments"},
        {"Add post", HTTPMethod::post, "/posts/add"},
        {"Update post", HTTPMethod::put, "/posts/{{postId}}"},
        {"Delete post", HTTPMethod::delete_, "/posts/{{postId}}"},
        {"Random todo", HTTPMethod::get, "/todos/random"},
        {"Recipe", HTTPMethod::get, "/recipes/1"},
        {"Random quote", HTTPMethod::get, "/quotes/random"},
        {"Health check", HTTPMethod::get, "/test"},
    };
    const auto requests = itemTree::allRequests(sampleWorkspace::starterCollection().items);
    ASSERT_EQ(expected.size(), requests.size());
    std::unordered_set<Uuid> ids;
    for (std::size_t index = 0; index < requests.size(); ++index) {
        const auto& [name, method, path] = expected[index];
        const auto& request = requests[index];
        EXPECT_EQ(name, request.name);
        EXPECT_EQ(method, request.method) << name;
        EXPECT_EQ(path, request.url) << name;
        EXPECT_EQ(30, request.timeout) << name;
        EXPECT_EQ(Auth::none(), request.auth) << name;
        EXPECT_EQ(request.body.raw.empty() ? BodyKind::none : BodyKind::json, request.body.kind) << name;
        EXPECT_TRUE(ids.insert(request.id).second) << name;
    }
}

TEST(SampleWorkspaceTest, BodiesByteForByte) {
    const auto collection = sampleWorkspace::starterCollection();
    const std::vector<std::pair<std::string, std::string>> bodies{
        {"Login", "{\n  \"username\": \"{{username}}\",\n  \"password\": \"{{password}}\",\n  \"expiresInMins\": 30\n}"},
        {"Refresh token", "{\n  \"refreshToken\": \"{{@Login.body.refreshToken}}\",\n  \"expiresInMins\": 30\n}"},
        {"Add product", "{\n  \"title\": \"Tessaline Bone\",\n  \"price\": 9.99,\n  \"category\": \"pet-supplies\"\n}"},
        {"Replace product", "{\n  \"title\": \"Renamed by Tessaline\",\n  \"price\": 19.99\n}"},
        {"Patch product price", "{\n  \"price\": 12.5\n}"},
        {"Add user", "{\n  \"firstName\": \"Rex\",\n  \"lastName\": \"Tessaline\",\n  \"age\": 3\n}"},
        {"Patch user", "{\n  \"lastName\": \"Owens\"\n}"},
        {"Add cart", "{\n  \"userId\": {{userId}},\n  \"products\": [\n    { \"id\": 144, \"quantity\": 4 },\n"
                     "    { \"id\": 98, \"quantity\": 1 }\n  ]\n}"},
        {"Update cart (merge)", "{\n  \"merge\": true,\n  \"products\": [\n    { \"id\": 1, \"quantity\": 1 }\n  ]\n}"},
        {"Add post", "{\n  \"title\": \"Fetch!\",\n  \"userId\": {{userId}}\n}"},
        {"Update post", "{\n  \"title\": \"Renamed by Tessaline\"\n}"},
    };
    std::size_t withBody = 0;
    for (const auto& request : itemTree::allRequests(collection.items)) withBody += request.body.raw.empty() ? 0 : 1;
    EXPECT_EQ(bodies.size(), withBody);
    for (const auto& [name, body] : bodies) EXPECT_EQ(body, requestNamed(collection, name).body.raw) << name;
}

TEST(SampleWorkspaceTest, HeadersQueriesAndNotes) {
    const auto collection = sampleWorkspace::starterCollection();
    using Rows = std::vector<std::pair<std::string, std::string>>;
    const Rows bearer{{"Authorization", "Bearer {{@Login.body.accessToken}}"}};
    for (const auto* name : {"Me", "My products (auth)", "My carts (auth)"})
        EXPECT_EQ(bearer, rows(requestNamed(collection, name).headers)) << name;
    EXPECT_EQ((Rows{{"X-Request-ID", "{{$uuid}}"}}), rows(requestNamed(collection, "List products").headers));
    EXPECT_EQ((Rows{{"limit", "10"}, {"select", "title,price,category"}}), rows(requestNamed(collection, "List products").query));
    EXPECT_EQ((Rows{{"q", "phone"}}), rows(requestNamed(collection, "Search products").query));
    EXPECT_EQ((Rows{{"key", "hair.color"}, {"value", "Brown"}}), rows(requestNamed(collection, "Filter users").query));
    EXPECT_EQ((Rows{{"select", "firstName,lastName"}}), rows(requestNamed(collection, "User by id").query));
    EXPECT_EQ((Rows{{"limit", "10"}, {"select", "title,tags,reactions"}}), rows(requestNamed(collection, "Posts").query));

    EXPECT_EQ("Reads the first id out of “List products” — send that first (or Send chain). Array items use .0, .1, …",
              requestNamed(collection, "First product details").notes);
    EXPECT_EQ("Any resource works under /auth/… when you send a bearer token.",
              requestNamed(collection, "My products (auth)").notes);
    EXPECT_EQ("Echoes the method — handy for checking connectivity.", requestNamed(collection, "Health check").notes);
    EXPECT_EQ("", requestNamed(collection, "My carts (auth)").notes);
}

TEST(SampleWorkspaceTest, EachCallMakesFreshIDs) {
    const auto first = sampleWorkspace::starterWorkspace(), second = sampleWorkspace::starterWorkspace();
    EXPECT_NE(first.collections[0].id, second.collections[0].id);
    EXPECT_NE(first.environments[0].id, second.environments[0].id);
    EXPECT_NE(itemTree::allIDs(first.collections[0].items), itemTree::allIDs(second.collections[0].items));
}

// The first edition: no "Chained flows" folder and no /auth resource requests.
APICollection firstEdition() {
    auto collection = sampleWorkspace::starterCollection();
    collection.items.erase(collection.items.begin() + 1);
    for (const auto* name : {"My products (auth)", "My carts (auth)"})
        itemTree::remove(collection.items, itemTree::firstRequestNamed(collection.items, name)->id);
    return collection;
}

TEST(SampleWorkspaceTest, ResetReplacesAnUntouchedEarlierEditionInPlace) {
    const APICollection mine{.name = "Mine"};
    auto edition = firstEdition();
    auto login = *itemTree::firstRequestNamed(edition.items, "Login");
    login.body.raw = "{}";  // edits inside requests do not make it the user's
    itemTree::replaceRequest(edition.items, login);
    Workspace workspace{.collections = {mine, edition}};

    EXPECT_TRUE(sampleWorkspace::resetStarterIfOutdated(workspace));
    ASSERT_EQ(2U, workspace.collections.size());
    EXPECT_EQ(mine, workspace.collections[0]);
    EXPECT_EQ(edition.id, workspace.collections[1].id);
    EXPECT_EQ(42U, itemTree::allRequests(workspace.collections[1].items).size());
    EXPECT_FALSE(sampleWorkspace::resetStarterIfOutdated(workspace));
}

TEST(SampleWorkspaceTest, ResetLeavesEverythingElseAlone) {
    auto renamed = firstEdition();
    renamed.name = "My DummyJSON";
    auto extended = firstEdition();
    extended.items.emplace_back(APIRequest{.name = "Mine"});
    auto shrunk = sampleWorkspace::starterCollection();
    itemTree::remove(shrunk.items, itemTree::firstRequestNamed(shrunk.items, "Recipe")->id);
    auto current = sampleWorkspace::starterCollection();
    current.baseURL = "https://example.test";

    Workspace workspace{.collections = {renamed, extended, shrunk, current}};
    const auto before = workspace;
    EXPECT_FALSE(sampleWorkspace::resetStarterIfOutdated(workspace));
    EXPECT_EQ(before, workspace);
}

TEST(SampleWorkspaceTest, MigrationMovesTheDemoAccountIntoAnEnvironment) {
    for (const bool anotherActive : {false, true}) {
        auto legacy = firstEdition();
        legacy.variables.push_back({.key = "username", .value = "emilys"});
        legacy.variables.push_back({.key = "password", .value = "changed"});
        const APIEnvironment other{.name = "Other"};
        Workspace workspace{.collections = {legacy}, .environments = {other}};
        if (anotherActive) workspace.activeEnvironmentID = other.id;

        EXPECT_TRUE(sampleWorkspace::migrateLegacyStarterIfNeeded(workspace));
        ASSERT_EQ(2U, workspace.environments.size());
        const auto& demo = workspace.environments[1];
        EXPECT_EQ("DummyJSON", demo.name);
        EXPECT_EQ((std::vector<KeyValue>{legacy.variables.end() - 2, legacy.variables.end()}), demo.variables);
        EXPECT_EQ(anotherActive ? other.id : demo.id, workspace.activeEnvironmentID);
        EXPECT_EQ(firstEdition().variables.size(), workspace.collections[0].variables.size());
        EXPECT_FALSE(sampleWorkspace::migrateLegacyStarterIfNeeded(workspace));

        EXPECT_TRUE(sampleWorkspace::resetStarterIfOutdated(workspace));
        EXPECT_EQ(42U, itemTree::allRequests(workspace.collections[0].items).size());
    }
}

TEST(SampleWorkspaceTest, MigrationNeedsAnUntouchedSampleAndNoDemoEnvironment) {
    auto legacy = sampleWorkspace::starterCollection();
    legacy.variables.push_back({.key = "username", .value = "emilys"});
    auto withEnvironment = sampleWorkspace::starterWorkspace();
    withEnvironment.collections[0] = legacy;
    auto touched = legacy;
    touched.items.emplace_back(APIRequest{.name = "Mine"});

    for (auto workspace : {withEnvironment, Workspace{.collections = {touched}}, sampleWorkspace::starterWorkspace()}) {
        const auto before = workspace;
        EXPECT_FALSE(sampleWorkspace::migrateLegacyStarterIfNeeded(workspace));
        EXPECT_EQ(before, workspace);
    }
}

}  // namespace
}  // namespace tessaline
