#include "storage/SampleWorkspace.hpp"

#include "model/ItemTree.hpp"
#include "model/WorkspaceCoding.hpp"
#include "pipeline/Placeholders.hpp"
#include "pipeline/VariableResolver.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

namespace tessaline {
namespace {

// What a first run shows must work as it stands: every placeholder is a variable of the
// sample's own environment or collection, a generated value, or a reference to the response
// of a request that the sample holds.
TEST(SampleWorkspaceTest, EveryPlaceholderResolvesWithinTheSample) {
    const auto workspace = sampleWorkspace::starterWorkspace();
    ASSERT_EQ(1u, workspace.collections.size());
    ASSERT_NE(nullptr, workspace.activeEnvironment());
    const auto& items = workspace.collections[0].items;
    std::set<std::string> referenced;
    const VariableResolver resolver{.scopes = {workspace.activeEnvironment()->variables,
                                               workspace.collections[0].effectiveVariables()},
                                    .responseLookup = [&](const std::string& name) {
                                        referenced.insert(name);
                                        return std::optional<StoredResponse>();
                                    }};
    for (const auto& request : itemTree::allRequests(items)) {
        std::string texts = request.url + "\n" + request.body.raw;
        for (const auto* rows : {&request.headers, &request.query})
            for (const auto& row : *rows) texts += "\n" + row.key + ": " + row.value;
        placeholders::scan(
            resolver.resolve(texts), placeholders::opener, [](std::string_view) {},
            [&](std::string_view body) { EXPECT_TRUE(body.starts_with("@")) << request.name << ": " << body; });
    }
    EXPECT_FALSE(referenced.empty());
    for (const auto& name : referenced) EXPECT_TRUE(itemTree::firstRequestNamed(items, name)) << name;
}

TEST(SampleWorkspaceTest, EveryCallMakesFreshUniqueIDs) {
    const auto ids = [](const Workspace& workspace) {
        std::vector<Uuid> all = itemTree::allIDs(workspace.collections.at(0).items);
        all.push_back(workspace.collections[0].id);
        all.push_back(workspace.environments.at(0).id);
        return all;
    };
    const auto first = sampleWorkspace::starterWorkspace();
    auto all = ids(first);
    const auto second = ids(sampleWorkspace::starterWorkspace());
    all.insert(all.end(), second.begin(), second.end());
    EXPECT_EQ(all.size(), std::unordered_set<Uuid>(all.begin(), all.end()).size());
    EXPECT_EQ(first, decodeWorkspace(encodeWorkspace(first)));
}

// The first edition: no "Chained flows" folder and no /auth resource requests.
APICollection firstEdition() {
    auto collection = sampleWorkspace::starterCollection();
    collection.items.erase(collection.items.begin() + 1);
    for (const auto* name : {"My products (auth)", "My carts (auth)"})
        itemTree::remove(collection.items, itemTree::firstRequestNamed(collection.items, name)->id);
    return collection;
}

TEST(SampleWorkspaceTest, ResetReplacesOnlyAnUntouchedEarlierEditionInPlace) {
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
    EXPECT_EQ(sampleWorkspace::starterNames().size(), itemTree::requestCount(workspace.collections[1].items));
    EXPECT_FALSE(sampleWorkspace::resetStarterIfOutdated(workspace));

    auto renamed = firstEdition();
    renamed.name = "My DummyJSON";
    auto extended = firstEdition();
    extended.items.emplace_back(APIRequest{.name = "Mine"});
    auto shrunk = sampleWorkspace::starterCollection();
    itemTree::remove(shrunk.items, itemTree::firstRequestNamed(shrunk.items, "Recipe")->id);
    auto current = sampleWorkspace::starterCollection();
    current.baseURL = "https://example.test";
    Workspace touched{.collections = {renamed, extended, shrunk, current}};
    const auto before = touched;
    EXPECT_FALSE(sampleWorkspace::resetStarterIfOutdated(touched));
    EXPECT_EQ(before, touched);
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
    }
    // Not when the sample was touched or already has its environment.
    auto legacy = sampleWorkspace::starterCollection();
    legacy.variables.push_back({.key = "username", .value = "emilys"});
    auto withEnvironment = sampleWorkspace::starterWorkspace();
    withEnvironment.collections[0] = legacy;
    auto touched = legacy;
    touched.items.emplace_back(APIRequest{.name = "Mine"});
    for (auto workspace : {withEnvironment, Workspace{.collections = {touched}}}) {
        const auto before = workspace;
        EXPECT_FALSE(sampleWorkspace::migrateLegacyStarterIfNeeded(workspace));
        EXPECT_EQ(before, workspace);
    }
}

}  // namespace
}  // namespace tessaline
