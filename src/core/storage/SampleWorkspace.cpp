#include "core/storage/SampleWorkspace.hpp"

#include "core/model/ItemTree.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace tessaline::sampleWorkspace {
namespace {

constexpr std::string_view sampleName = "DummyJSON";
constexpr std::string_view bearerLogin = "Bearer {{@Login.body.accessToken}}";

using Rows = std::vector<std::pair<std::string_view, std::string_view>>;

struct SampleRequest {
    std::string_view name;
    HTTPMethod method;
    std::string_view path;
    Rows query{};
    Rows headers{};
    std::string_view body{};  // JSON when present
    std::string_view notes{};
};

struct SampleFolder {
    std::string_view name;
    std::vector<SampleRequest> requests;
};

const std::vector<SampleFolder>& sampleFolders() {
    using enum HTTPMethod;
    static const std::vector<SampleFolder> folders{
        {"Auth",
         {
             {.name = "Login", .method = post, .path = "/auth/login",
              .body = "{\n  \"username\": \"{{username}}\",\n  \"password\": \"{{password}}\",\n  \"expiresInMins\": 30\n}",
              .notes = "Credentials come from the DummyJSON environment. The response carries accessToken and "
                       "refreshToken — every request in this collection that needs auth reads them with "
                       "{{@Login.body.accessToken}}."},
             {.name = "Me", .method = get, .path = "/auth/me", .headers = {{"Authorization", bearerLogin}},
              .notes = "Chained: the Authorization header reads Login's last response. Send Login first, or press "
                       "Send chain."},
             {.name = "Refresh token", .method = post, .path = "/auth/refresh",
              .body = "{\n  \"refreshToken\": \"{{@Login.body.refreshToken}}\",\n  \"expiresInMins\": 30\n}",
              .notes = "Trades Login's refreshToken for a new access token."},
             {.name = "My products (auth)", .method = get, .path = "/auth/products", .query = {{"limit", "10"}},
              .headers = {{"Authorization", bearerLogin}},
              .notes = "Any resource works under /auth/… when you send a bearer token."},
             {.name = "My carts (auth)", .method = get, .path = "/auth/carts", .query = {{"limit", "10"}},
              .headers = {{"Authorization", bearerLogin}}},
         }},
        {"Chained flows",
         {
             {.name = "My posts", .method = get, .path = "/posts/user/{{@Login.body.id}}", .query = {{"limit", "10"}},
              .notes = "The user id comes from Login's response body, so the path itself is chained."},
             {.name = "My todos", .method = get, .path = "/todos/user/{{@Login.body.id}}"},
             {.name = "First product details", .method = get, .path = "/products/{{@List products.body.products.0.id}}",
              .notes = "Reads the first id out of “List products” — send that first (or Send chain). Array items "
                       "use .0, .1, …"},
             {.name = "Comments on first post", .method = get, .path = "/posts/{{@Posts.body.posts.0.id}}/comments"},
         }},
        {"Products",
         {
             {.name = "List products", .method = get, .path = "/products",
              .query = {{"limit", "10"}, {"select", "title,price,category"}},
              .headers = {{"X-Request-ID", "{{$uuid}}"}},
              .notes = "select= trims the payload; remove it to see full objects (a good test for the tree view). "
                       "X-Request-ID is a dynamic value, new on every send."},
             {.name = "Product by id", .method = get, .path = "/products/{{productId}}",
              .notes = "productId is a collection variable — change it on the collection page."},
             {.name = "Products in category", .method = get, .path = "/products/category/{{category}}",
              .query = {{"limit", "10"}}},
             {.name = "Search products", .method = get, .path = "/products/search", .query = {{"q", "phone"}}},
             {.name = "Category list", .method = get, .path = "/products/category-list"},
             {.name = "Add product", .method = post, .path = "/products/add",
              .body = "{\n  \"title\": \"Tessaline Bone\",\n  \"price\": 9.99,\n  \"category\": \"pet-supplies\"\n}",
              .notes = "DummyJSON simulates writes: you get the created object back (201) but nothing is stored."},
             {.name = "Replace product", .method = put, .path = "/products/{{productId}}",
              .body = "{\n  \"title\": \"Renamed by Tessaline\",\n  \"price\": 19.99\n}"},
             {.name = "Patch product price", .method = patch, .path = "/products/{{productId}}",
              .body = "{\n  \"price\": 12.5\n}"},
             {.name = "Delete product", .method = delete_, .path = "/products/{{productId}}",
              .notes = "Returns the object with isDeleted: true and deletedOn."},
         }},
        {"Users",
         {
             {.name = "List users", .method = get, .path = "/users", .query = {{"select", "firstName,lastName,email"}}},
             {.name = "User by id", .method = get, .path = "/users/{{userId}}", .query = {{"select", "firstName,lastName"}}},
             {.name = "Search users", .method = get, .path = "/users/search", .query = {{"q", "John"}}},
             {.name = "Filter users", .method = get, .path = "/users/filter",
              .query = {{"key", "hair.color"}, {"value", "Brown"}}},
             {.name = "Add user", .method = post, .path = "/users/add",
              .body = "{\n  \"firstName\": \"Rex\",\n  \"lastName\": \"Tessaline\",\n  \"age\": 3\n}"},
             {.name = "Patch user", .method = patch, .path = "/users/{{userId}}", .body = "{\n  \"lastName\": \"Owens\"\n}"},
             {.name = "Delete user", .method = delete_, .path = "/users/{{userId}}"},
         }},
        {"Carts",
         {
             {.name = "Cart by id", .method = get, .path = "/carts/{{cartId}}"},
             {.name = "User's carts", .method = get, .path = "/carts/user/{{userId}}"},
             {.name = "Add cart", .method = post, .path = "/carts/add",
              .body = "{\n  \"userId\": {{userId}},\n  \"products\": [\n    { \"id\": 144, \"quantity\": 4 },\n"
                      "    { \"id\": 98, \"quantity\": 1 }\n  ]\n}"},
             {.name = "Update cart (merge)", .method = put, .path = "/carts/{{cartId}}",
              .body = "{\n  \"merge\": true,\n  \"products\": [\n    { \"id\": 1, \"quantity\": 1 }\n  ]\n}",
              .notes = "merge: true keeps the existing products and adds the new ones."},
             {.name = "Delete cart", .method = delete_, .path = "/carts/{{cartId}}"},
         }},
        {"Posts & more",
         {
             {.name = "Posts", .method = get, .path = "/posts",
              .query = {{"limit", "10"}, {"select", "title,tags,reactions"}}},
             {.name = "Post by id", .method = get, .path = "/posts/{{postId}}"},
             {.name = "Search posts", .method = get, .path = "/posts/search", .query = {{"q", "love"}}},
             {.name = "Posts by tag", .method = get, .path = "/posts/tag/history", .query = {{"limit", "10"}}},
             {.name = "Post comments", .method = get, .path = "/posts/{{postId}}/comments"},
             {.name = "Add post", .method = post, .path = "/posts/add",
              .body = "{\n  \"title\": \"Fetch!\",\n  \"userId\": {{userId}}\n}"},
             {.name = "Update post", .method = put, .path = "/posts/{{postId}}",
              .body = "{\n  \"title\": \"Renamed by Tessaline\"\n}"},
             {.name = "Delete post", .method = delete_, .path = "/posts/{{postId}}"},
             {.name = "Random todo", .method = get, .path = "/todos/random"},
             {.name = "Recipe", .method = get, .path = "/recipes/1"},
             {.name = "Random quote", .method = get, .path = "/quotes/random"},
             {.name = "Health check", .method = get, .path = "/test",
              .notes = "Echoes the method — handy for checking connectivity."},
         }},
    };
    return folders;
}

// The request names that earlier editions of the sample lacked, one list per edition. The
// first edition had neither the chained flows nor the two /auth resource requests.
const std::vector<std::vector<std::string_view>>& earlierEditionsLacked() {
    static const std::vector<std::vector<std::string_view>> editions{
        {"My products (auth)", "My carts (auth)", "My posts", "My todos", "First product details",
         "Comments on first post"},
    };
    return editions;
}

std::vector<KeyValue> keyValues(const Rows& rows) {
    std::vector<KeyValue> result;
    for (const auto& [key, value] : rows) result.push_back({.key = std::string(key), .value = std::string(value)});
    return result;
}

APIRequest makeRequest(const SampleRequest& sample) {
    return {
        .name = std::string(sample.name),
        .method = sample.method,
        .url = std::string(sample.path),
        .query = keyValues(sample.query),
        .headers = keyValues(sample.headers),
        .body = {.kind = sample.body.empty() ? BodyKind::none : BodyKind::json, .raw = std::string(sample.body)},
        .notes = std::string(sample.notes),
        .followRedirects = true,
        .timeout = 30,
    };
}

std::set<std::string> requestNames(const APICollection& collection) {
    std::set<std::string> names;
    for (const auto& request : itemTree::allRequests(collection.items)) names.insert(request.name);
    return names;
}

enum class Edition { current, earlier };

// Which edition of the sample the collection is, if it is an untouched one.
std::optional<Edition> editionOf(const APICollection& collection) {
    if (collection.name != sampleName) return std::nullopt;
    const auto names = requestNames(collection);
    if (names == starterNames()) return Edition::current;
    for (const auto& lacked : earlierEditionsLacked()) {
        auto edition = starterNames();
        for (const auto name : lacked) edition.erase(std::string(name));
        if (names == edition) return Edition::earlier;
    }
    return std::nullopt;
}

APIEnvironment demoEnvironment(std::vector<KeyValue> variables) {
    return {.name = std::string(sampleName), .variables = std::move(variables)};
}

bool isCredential(const KeyValue& row) {
    return row.key == "username" || row.key == "password";
}

}  // namespace

APICollection starterCollection() {
    APICollection collection{
        .name = std::string(sampleName),
        .variables = keyValues({{"productId", "1"}, {"category", "smartphones"}, {"userId", "1"}, {"cartId", "1"},
                                {"postId", "1"}}),
        .notes = "DummyJSON is a free fake REST API for prototyping: https://dummyjson.com/docs\n"
                 "Writes are simulated: responses look real, nothing persists.",
        .baseURL = "https://dummyjson.com",
        .icon = "shippingbox.fill",
        .color = "amber",
    };
    for (const auto& sample : sampleFolders()) {
        Folder folder{Uuid::random(), std::string(sample.name)};
        for (const auto& request : sample.requests) folder.items.emplace_back(makeRequest(request));
        collection.items.emplace_back(std::move(folder));
    }
    return collection;
}

Workspace starterWorkspace() {
    const auto environment = demoEnvironment(keyValues({{"username", "emilys"}, {"password", "emilyspass"}}));
    return {
        .version = Workspace::currentVersion,
        .collections = {starterCollection()},
        .environments = {environment},
        .activeEnvironmentID = environment.id,
    };
}

const std::set<std::string>& starterNames() {
    static const std::set<std::string> names = [] {
        std::set<std::string> result;
        for (const auto& folder : sampleFolders()) {
            for (const auto& request : folder.requests) result.emplace(request.name);
        }
        return result;
    }();
    return names;
}

bool resetStarterIfOutdated(Workspace& workspace) {
    bool changed = false;
    for (auto& collection : workspace.collections) {
        if (editionOf(collection) != Edition::earlier) continue;
        auto current = starterCollection();
        current.id = collection.id;
        collection = std::move(current);
        changed = true;
    }
    return changed;
}

bool migrateLegacyStarterIfNeeded(Workspace& workspace) {
    const bool hasDemoEnvironment = std::any_of(workspace.environments.begin(), workspace.environments.end(),
                                                [](const APIEnvironment& environment) { return environment.name == sampleName; });
    if (hasDemoEnvironment) return false;
    const auto legacy = std::find_if(workspace.collections.begin(), workspace.collections.end(), [](const APICollection& collection) {
        return editionOf(collection) && std::any_of(collection.variables.begin(), collection.variables.end(), isCredential);
    });
    if (legacy == workspace.collections.end()) return false;

    std::vector<KeyValue> credentials;
    std::copy_if(legacy->variables.begin(), legacy->variables.end(), std::back_inserter(credentials), isCredential);
    std::erase_if(legacy->variables, isCredential);
    auto environment = demoEnvironment(std::move(credentials));
    if (workspace.activeEnvironment() == nullptr) workspace.activeEnvironmentID = environment.id;
    workspace.environments.push_back(std::move(environment));
    return true;
}

}  // namespace tessaline::sampleWorkspace
