#include "model/Workspace.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(ModelRecordsTest, MethodsThatAllowABody) {
    std::vector<std::string_view> allowing;
    for (const auto method : enumValues<HTTPMethod>()) {
        if (allowsBody(method)) allowing.push_back(toString(method));
    }
    EXPECT_EQ((std::vector<std::string_view>{"POST", "PUT", "PATCH", "DELETE", "OPTIONS"}), allowing);
}

TEST(ModelRecordsTest, EnumStringsReadBackExactly) {
    EXPECT_EQ(HTTPMethod::options, parseEnum<HTTPMethod>("OPTIONS"));
    EXPECT_FALSE(parseEnum<HTTPMethod>("get"));
    EXPECT_EQ(BodyKind::formURLEncoded, parseEnum<BodyKind>("formURLEncoded"));
    EXPECT_EQ(AuthKind::apiKey, parseEnum<AuthKind>("apiKey"));
    EXPECT_EQ(APIKeyLocation::query, parseEnum<APIKeyLocation>("query"));
    EXPECT_EQ(OAuth2Grant::clientCredentials, parseEnum<OAuth2Grant>("clientCredentials"));
    EXPECT_EQ(6u, enumValues<AuthKind>().size());
}

TEST(ModelRecordsTest, LabelsAndContentTypes) {
    EXPECT_EQ("Form URL-Encoded", label(BodyKind::formURLEncoded));
    EXPECT_EQ("Multipart Form", label(BodyKind::multipart));
    EXPECT_EQ("Inherit from Collection", label(AuthKind::inherit));
    EXPECT_EQ("OAuth 2.0", label(AuthKind::oauth2));
    EXPECT_EQ("Device Code", displayName(OAuth2Grant::deviceCode));
    std::vector<OAuth2Grant> interactive;
    for (const auto grant : enumValues<OAuth2Grant>()) {
        if (isInteractive(grant)) interactive.push_back(grant);
    }
    EXPECT_EQ((std::vector<OAuth2Grant>{OAuth2Grant::authorizationCode, OAuth2Grant::deviceCode}), interactive);
    EXPECT_EQ("application/x-www-form-urlencoded", contentType(BodyKind::formURLEncoded));
    EXPECT_EQ("application/xml", contentType(BodyKind::xml));
    EXPECT_FALSE(contentType(BodyKind::multipart));
    EXPECT_FALSE(contentType(BodyKind::none));
}

TEST(ModelRecordsTest, BlankRows) {
    EXPECT_TRUE((KeyValue{.enabled = false}.isBlank()));
    EXPECT_FALSE((KeyValue{.value = "v"}.isBlank()));
    EXPECT_FALSE((KeyValue{.key = "k"}.isBlank()));
}

TEST(ModelRecordsTest, AuthNoneDefaults) {
    const auto none = Auth::none();
    EXPECT_EQ(AuthKind::none, none.kind);
    EXPECT_EQ("X-API-Key", none.apiKeyName);
    EXPECT_EQ(APIKeyLocation::header, none.apiKeyIn);
    EXPECT_FALSE(none.oauth2);
}

TEST(ModelRecordsTest, EffectiveVariablesOfferTheBaseURL) {
    const KeyValue own{.key = "baseUrl", .value = "mine"};
    const KeyValue other{.key = "token", .value = "t"};
    const APICollection withoutBase{.variables = {other}};
    EXPECT_EQ(withoutBase.variables, withoutBase.effectiveVariables());

    const APICollection withBase{.variables = {other}, .baseURL = "https://api.test"};
    const auto rows = withBase.effectiveVariables();
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ("baseUrl", rows[0].key);
    EXPECT_EQ("https://api.test", rows[0].value);
    EXPECT_TRUE(rows[0].enabled);
    EXPECT_EQ(other, rows[1]);

    const APICollection userRowWins{.variables = {other, own}, .baseURL = "https://api.test"};
    EXPECT_EQ(userRowWins.variables, userRowWins.effectiveVariables());

    auto disabled = own;
    disabled.enabled = false;
    const APICollection disabledRowLoses{.variables = {disabled}, .baseURL = "https://api.test"};
    EXPECT_EQ(2u, disabledRowLoses.effectiveVariables().size());
    const APICollection otherCase{.variables = {KeyValue{.key = "baseURL"}}, .baseURL = "https://api.test"};
    EXPECT_EQ(2u, otherCase.effectiveVariables().size());
}

TEST(ModelRecordsTest, ActiveEnvironmentThatWasDeletedCountsAsNone) {
    Workspace workspace{.environments = {APIEnvironment{.name = "Dev"}}};
    EXPECT_EQ(nullptr, workspace.activeEnvironment());
    workspace.activeEnvironmentID = workspace.environments[0].id;
    EXPECT_EQ("Dev", workspace.activeEnvironment()->name);
    workspace.environments.clear();
    EXPECT_EQ(nullptr, workspace.activeEnvironment());
}

TEST(ModelRecordsTest, EmptyWorkspace) {
    const Workspace empty;
    EXPECT_EQ(1, empty.version);
    EXPECT_TRUE(empty.collections.empty());
    EXPECT_FALSE(empty.activeEnvironmentID);
}

}  // namespace
}  // namespace tessaline
