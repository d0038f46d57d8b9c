#include "core/storage/SampleWorkspace.hpp"

#include "core/model/ItemTree.hpp"
#include "core/variables/Placeholders.hpp"
#include "core/variables/VariableResolver.hpp"

#include <gtest/gtest.h>

#include <set>
#include <unordered_set>

namespace tessaline {
namespace {

// What a first run shows must work as it stands: every placeholder is a variable of the
// sample's own environment or collection, a generated value, or a reference to the response
// of a request that the sample holds; and no id is shared, even with another call's sample.
TEST(SampleWorkspaceTest, EveryPlaceholderResolvesWithinTheSampleAndEveryIDIsFresh) {
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
    auto ids = itemTree::allIDs(items);
    const auto again = itemTree::allIDs(sampleWorkspace::starterWorkspace().collections.at(0).items);
    ids.insert(ids.end(), again.begin(), again.end());
    EXPECT_EQ(ids.size(), std::unordered_set<Uuid>(ids.begin(), ids.end()).size());
}

// The first edition: no "Chained flows" folder and no /auth resource requests.
APICollection firstEdition() {
    auto collection = sampleWorkspace::starterCollection();
    collection.items.erase(collection.items.begin() + 1);
    for (const auto* name : {"My products (auth)", "My carts (auth)"})
        itemTree::remove(collection.items, itemTree::firstRequestNamed(collection.items, name)->id);
    return collection;
}

// Editions are told apart by their request names: edits inside requests do not make one
// the user's, while renaming the collection or adding a request does.
TEST(SampleWorkspaceTest, ResetReplacesOnlyAnUntouchedEarlierEditionInPlace) {
    auto edition = firstEdition();
    auto login = *itemTree::firstRequestNamed(edition.items, "Login");
    login.body.raw = "{}";
    itemTree::replaceRequest(edition.items, login);
    auto renamed = firstEdition();
    renamed.name = "My DummyJSON";
    auto extended = firstEdition();
    extended.items.emplace_back(APIRequest{.name = "Mine"});
    auto current = sampleWorkspace::starterCollection();
    current.baseURL = "https://example.test";
    const std::vector<APICollection> untouched{renamed, extended, current};
    Workspace workspace{.collections = {edition, renamed, extended, current}};
    EXPECT_TRUE(sampleWorkspace::resetStarterIfOutdated(workspace));
    EXPECT_EQ(edition.id, workspace.collections[0].id);
    EXPECT_EQ(sampleWorkspace::starterNames().size(), itemTree::requestCount(workspace.collections[0].items));
    EXPECT_EQ(untouched, std::vector<APICollection>(workspace.collections.begin() + 1, workspace.collections.end()));
    EXPECT_FALSE(sampleWorkspace::resetStarterIfOutdated(workspace));
}

// Early samples kept the demo account in collection variables; an environment takes them,
// active unless another one is. A touched sample, or one that has the environment, is left.
TEST(SampleWorkspaceTest, MigrationMovesTheDemoAccountIntoAnEnvironment) {
    auto legacy = firstEdition();
    const std::vector<KeyValue> account{{.key = "username", .value = "emilys"}, {.key = "password", .value = "changed"}};
    legacy.variables.insert(legacy.variables.end(), account.begin(), account.end());
    const APIEnvironment other{.name = "Other"};
    for (const auto& active : {std::optional<Uuid>(), std::optional(other.id)}) {
        Workspace workspace{.collections = {legacy}, .environments = {other}, .activeEnvironmentID = active};
        EXPECT_TRUE(sampleWorkspace::migrateLegacyStarterIfNeeded(workspace));
        ASSERT_EQ(2U, workspace.environments.size());
        const auto& demo = workspace.environments[1];
        EXPECT_EQ((std::pair<std::string, std::vector<KeyValue>>{"DummyJSON", account}), std::pair(demo.name, demo.variables));
        EXPECT_EQ(active.value_or(demo.id), workspace.activeEnvironmentID);
        EXPECT_EQ(firstEdition().variables.size(), workspace.collections[0].variables.size());
    }
    auto touched = Workspace{.collections = {legacy}}, withEnvironment = sampleWorkspace::starterWorkspace();
    touched.collections[0].items.emplace_back(APIRequest{.name = "Mine"});
    withEnvironment.collections[0].variables.push_back(account[0]);
    for (const auto& before : {withEnvironment, touched}) {
        auto workspace = before;
        EXPECT_FALSE(sampleWorkspace::migrateLegacyStarterIfNeeded(workspace));
        EXPECT_EQ(before, workspace);
    }
}

}  // namespace
}  // namespace tessaline
