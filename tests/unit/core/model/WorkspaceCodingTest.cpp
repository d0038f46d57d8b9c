#include "core/model/WorkspaceCoding.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tessaline {
namespace {

const Uuid collectionID = *Uuid::parse("11111111-1111-4111-8111-111111111111");
const Uuid environmentID = *Uuid::parse("22222222-2222-4222-8222-222222222222");

// Every field set, and none to its default.
Workspace sampleWorkspace() {
    const OAuth2Config device{{.grant = OAuth2Grant::deviceCode,
                               .clientID = "client",
                               .authParams = {{.key = "prompt", .value = "consent"}}},
                              {.placement = OAuth2TokenPlacement::query}};
    const APIRequest inner{.name = "Inner", .method = HTTPMethod::post, .url = "{{baseUrl}}/users/1",
                           .query = {{.key = "page", .value = "2", .enabled = false}}, .headers = {{.key = "Accept"}},
                           .body = {.kind = BodyKind::json, .raw = "{\"a\":1}", .form = {{.key = "f"}}},
                           .auth = {.kind = AuthKind::oauth2, .oauth2 = device}, .notes = "notes",
                           .followRedirects = false, .timeout = 12.5};
    const Folder folder{Uuid::random(), "Folder", {Folder{Uuid::random(), "Empty"}, inner}};
    const APICollection collection{.id = collectionID, .name = "Demo",
                                   .items = {folder, APIRequest{.name = "Top", .method = HTTPMethod::delete_}},
                                   .variables = {{.key = "token", .value = "abc"}},
                                   .auth = {.kind = AuthKind::basic, .username = "u", .password = "p"},
                                   .baseURL = "https://example.test/api", .icon = "globe", .color = "red"};
    return {.collections = {collection},
            .environments = {{.id = environmentID, .name = "Local", .variables = {{.key = "host"}}}},
            .activeEnvironmentID = environmentID};
}

std::string withCollection(const std::string& collection) {
    return R"({"version":1,"environments":[],"collections":[)" + collection + "]}";
}

std::string withItem(const std::string& item) {
    return withCollection(R"({"id":"11111111-1111-4111-8111-111111111111","name":"C","items":[)" + item + "]}");
}

// A request named "R" as written, less `skippedKey`.
std::string requestJSON(const std::string& skippedKey = "") {
    auto request = nlohmann::json::parse(encodeWorkspace({.collections = {{.items = {APIRequest{.name = "R"}}}}}));
    request = request["collections"][0]["items"][0]["request"]["_0"];
    request.erase(skippedKey);
    return request.dump();
}

std::string inRequest(const std::string& request) { return withItem(R"({"request":{"_0":)" + request + "}}"); }

// Written as the desktop client writes it: keys sorted, slashes as they are, whole numbers
// without a fraction, no key for an absent active environment.
TEST(WorkspaceCodingTest, EveryRecordSurvivesARoundTripWrittenAsTheDesktopClientWritesIt) {
    const auto workspace = sampleWorkspace();
    const auto bytes = encodeWorkspace(workspace);
    EXPECT_EQ(workspace, decodeWorkspace(bytes));
    EXPECT_EQ(bytes, encodeWorkspace(decodeWorkspace(bytes)));
    EXPECT_EQ("{\n  \"collections\": [],\n  \"environments\": [],\n  \"version\": 1\n}", encodeWorkspace(Workspace{}));
    EXPECT_EQ(0u, bytes.find("{\n  \"activeEnvironmentID\": \"22222222-2222-4222-8222-222222222222\",\n"
                             "  \"collections\": [\n"));
    EXPECT_NE(std::string::npos, bytes.find(R"("baseURL": "https://example.test/api")"));
    EXPECT_NE(std::string::npos, bytes.find(R"("timeout": 12.5)"));
    EXPECT_NE(std::string::npos, bytes.find("\"timeout\": 30,\n"));
}

TEST(WorkspaceCodingTest, ReadsWhatOtherWritersAndEarlierBuildsWrite) {
    EXPECT_EQ(Workspace{}, decodeWorkspace(R"({"version":1,"collections":[],"environments":[],"activeEnvironmentID":null})"));
    const auto lowerCase = decodeWorkspace(
        R"({"version":1,"collections":[],"environments":[],"activeEnvironmentID":"abcdefab-cdef-4abc-8def-abcdefabcdef"})");
    EXPECT_EQ("ABCDEFAB-CDEF-4ABC-8DEF-ABCDEFABCDEF", lowerCase.activeEnvironmentID->text());
    for (const auto* timeout : {"30", "30.0", "3e1"}) {
        auto request = nlohmann::json::parse(requestJSON());
        request["timeout"] = nlohmann::json::parse(timeout);
        EXPECT_EQ(30.0, decodeWorkspace(inRequest(request.dump())).collections[0].items[0].request()->timeout) << timeout;
    }
    auto request = nlohmann::json::parse(requestJSON());
    request["extra"] = {1, 2};
    const auto unknownKeys = decodeWorkspace(withItem(R"({"request":{"_0":)" + request.dump() + R"(,"x":1},"note":true})"));
    EXPECT_EQ("R", unknownKeys.collections[0].items[0].name());
    // Files of early builds lack the later keys: they read as the defaults.
    const auto workspace = decodeWorkspace(withCollection(R"({"id":"11111111-1111-4111-8111-111111111111","name":"Old",
        "items":null,"icon":null})"));
    EXPECT_EQ((std::vector<APICollection>{{.id = collectionID, .name = "Old"}}), workspace.collections);
    const auto auth = JSONDocument::parse(R"({"kind": "oauth2", "token": "", "username": "", "password": "",
        "apiKeyName": "X-API-Key", "apiKeyValue": "", "apiKeyIn": "header", "oauth2": {}})");
    EXPECT_EQ(OAuth2Config{}, decodeAuth(JSONReader(auth)).oauth2);
}

// The reader's own messages are its tests' business; these are the workspace's paths and rules.
TEST(WorkspaceCodingTest, ErrorsNameTheirCodingPath) {
    const std::string folder = R"({"_0":{"id":"11111111-1111-4111-8111-111111111111","name":"F","items":[]}})";
    const std::string request = R"({"_0":)" + requestJSON() + "}";
    const std::string oneFolder = R"({"folder":)" + folder + "},";
    const std::string nested = R"({"folder":{"_0":{"id":"11111111-1111-4111-8111-111111111111","name":"F","items":[)";
    const std::string oneKey = "collections[0].items[1]: Invalid number of keys found, expected one.";
    struct Case {
        std::string document, expected;
    } cases[] = {
        {withItem(oneFolder + R"({"folder":)" + folder + R"(,"request":)" + request + "}"), oneKey},
        {withItem(oneFolder + "{}"), oneKey},
        {withItem(oneFolder + R"({"link":)" + folder + "}"), oneKey},
        {withItem(R"({"request":1})"), "collections[0].items[0].request: Expected an object but found a number."},
        {withItem(R"({"request":{"0":{}}})"), "collections[0].items[0].request._0: Key not found."},
        {inRequest(requestJSON("timeout")), "collections[0].items[0].request._0.timeout: Key not found."},
        {withItem(nested + R"({"request":{"_0":)" + requestJSON("url") + "}}]}}}"),
         "collections[0].items[0].folder._0.items[0].request._0.url: Key not found."},
        {inRequest(requestJSON().replace(requestJSON().find("\"GET\""), 5, "\"get\"")),
         "collections[0].items[0].request._0.method: Unknown value “get”, expected one of GET, POST, PUT, PATCH, DELETE, "
         "HEAD, OPTIONS."},
        {withCollection(R"({"id":"not-a-uuid","name":"C"})"), "collections[0].id: Invalid UUID “not-a-uuid”."},
        {R"({"version":1,"collections":[]})", "environments: Key not found."},
    };
    for (const auto& c : cases) EXPECT_EQ(c.expected, thrownText([&] { decodeWorkspace(c.document); })) << c.document;
}

TEST(WorkspaceCodingTest, DeepNestingIsRejectedNotOverflowed) {
    std::string items;
    for (int i = 0; i < 200; ++i) items += R"({"folder":{"_0":{"id":"11111111-1111-4111-8111-111111111111","name":"F","items":[)";
    for (int i = 0; i < 200; ++i) items += "]}}}";
    const auto message = thrownText([&] { decodeWorkspace(withItem(items)); });
    EXPECT_NE(std::string::npos, message.find(": The document is nested too deeply.")) << message;
}

}  // namespace
}  // namespace tessaline
