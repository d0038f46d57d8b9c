#include "model/Workspace.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

Rows rows(const std::vector<KeyValue>& keyValues) {
    Rows result;
    for (const auto& row : keyValues) result.emplace_back(row.key, row.value);
    return result;
}

// The base URL is offered to variables as "baseUrl" unless the user's own enabled row of
// exactly that name says otherwise.
TEST(ModelRecordsTest, EffectiveVariablesOfferTheBaseURL) {
    const KeyValue token{.key = "token", .value = "t"};
    const KeyValue own{.key = "baseUrl", .value = "mine"};
    KeyValue disabled = own;
    disabled.enabled = false;
    struct Case {
        std::string name;
        APICollection collection;
        Rows expected;
    };
    const std::string base = "https://api.test";
    const std::vector<Case> cases{
        {"no base URL", {.variables = {token}}, {{"token", "t"}}},
        {"base URL", {.variables = {token}, .baseURL = base}, {{"baseUrl", base}, {"token", "t"}}},
        {"own row wins", {.variables = {token, own}, .baseURL = base}, {{"token", "t"}, {"baseUrl", "mine"}}},
        {"own row disabled", {.variables = {disabled}, .baseURL = base}, {{"baseUrl", base}, {"baseUrl", "mine"}}},
        {"other case", {.variables = {{.key = "baseURL"}}, .baseURL = base}, {{"baseUrl", base}, {"baseURL", ""}}},
    };
    for (const auto& c : cases) EXPECT_EQ(c.expected, rows(c.collection.effectiveVariables())) << c.name;
    const APICollection withBase{.baseURL = "https://api.test"};
    EXPECT_TRUE(withBase.effectiveVariables().at(0).enabled);
}

TEST(ModelRecordsTest, ActiveEnvironmentThatWasDeletedCountsAsNone) {
    Workspace workspace{.environments = {APIEnvironment{.name = "Dev"}}};
    EXPECT_EQ(nullptr, workspace.activeEnvironment());
    workspace.activeEnvironmentID = workspace.environments[0].id;
    EXPECT_EQ(&workspace.environments[0], workspace.activeEnvironment());
    workspace.environments.clear();
    EXPECT_EQ(nullptr, workspace.activeEnvironment());
}

}  // namespace
}  // namespace tessaline
