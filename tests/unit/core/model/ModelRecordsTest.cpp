#include "core/model/Workspace.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

// The base URL is offered to variables as "baseUrl", first, unless the user's own enabled row
// of exactly that name says otherwise.
TEST(ModelRecordsTest, EffectiveVariablesOfferTheBaseURL) {
    const KeyValue token{.key = "token", .value = "t"}, own{.key = "baseUrl", .value = "mine"};
    const KeyValue disabled{.key = "baseUrl", .enabled = false}, otherCase{.key = "baseURL"};
    const std::vector<std::pair<std::vector<KeyValue>, std::vector<std::string>>> cases{
        {{token}, {"baseUrl=https://api.test", "token=t"}},
        {{token, own}, {"token=t", "baseUrl=mine"}},
        {{disabled}, {"baseUrl=https://api.test", "baseUrl= (disabled)"}},
        {{otherCase}, {"baseUrl=https://api.test", "baseURL="}},
    };
    for (const auto& [variables, expected] : cases) {
        std::vector<std::string> rows;
        for (const auto& row : APICollection{.variables = variables, .baseURL = "https://api.test"}.effectiveVariables())
            rows.push_back(row.key + "=" + row.value + (row.enabled ? "" : " (disabled)"));
        EXPECT_EQ(expected, rows);
    }
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
