#include "model/WorkspaceCoding.hpp"
#include "model/Written.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

const Uuid collectionID = *Uuid::parse("11111111-1111-4111-8111-111111111111");
const Uuid environmentID = *Uuid::parse("22222222-2222-4222-8222-222222222222");

Workspace sampleWorkspace() {
    APIRequest inner{.name = "Inner",
                     .method = HTTPMethod::post,
                     .url = "{{baseUrl}}/users/1",
                     .query = {KeyValue{.key = "page", .value = "2", .enabled = false}},
                     .headers = {KeyValue{.key = "Accept", .value = "application/json"}},
                     .body = RequestBody{.kind = BodyKind::json, .raw = "{\"a\":1}", .form = {KeyValue{.key = "f"}}},
                     .auth = Auth{.kind = AuthKind::oauth2,
                                  .oauth2 = OAuth2Config{.grant = OAuth2Grant::deviceCode,
                                                         .clientID = "client",
                                                         .authParams = {KeyValue{.key = "prompt", .value = "consent"}},
                                                         .placement = OAuth2TokenPlacement::query}},
                     .notes = "notes",
                     .followRedirects = false,
                     .timeout = 12.5};
    Folder folder{Uuid::random(), "Folder", {Folder{Uuid::random(), "Empty"}, inner}};
    APICollection collection{.id = collectionID,
                             .name = "Demo",
                             .items = {folder, APIRequest{.name = "Top", .method = HTTPMethod::delete_}},
                             .variables = {KeyValue{.key = "token", .value = "abc"}},
                             .auth = Auth{.kind = AuthKind::basic, .username = "u", .password = "p"},
                             .baseURL = "https://example.test/api",
                             .icon = "globe",
                             .color = "red"};
    return {.collections = {collection},
            .environments = {APIEnvironment{.id = environmentID, .name = "Local", .variables = {KeyValue{.key = "host"}}}},
            .activeEnvironmentID = environmentID};
}

std::string withCollection(const std::string& collection) {
    return R"({"version":1,"environments":[],"collections":[)" + collection + "]}";
}

std::string withItem(const std::string& item) {
    return withCollection(R"({"id":"11111111-1111-4111-8111-111111111111","name":"C","items":[)" + item + "]}");
}

std::string requestJSON(const std::string& skippedKey = "") {
    nlohmann::json request = written(APIRequest{.id = collectionID, .name = "R"});
    request.erase(skippedKey);
    return request.dump();
}

std::string inRequest(const std::string& request) { return withItem(R"({"request":{"_0":)" + request + "}}"); }

TEST(WorkspaceCodingTest, EveryRecordSurvivesARoundTrip) {
    const auto workspace = sampleWorkspace();
    const auto bytes = encodeWorkspace(workspace);
    EXPECT_EQ(workspace, decodeWorkspace(bytes));
    EXPECT_EQ(bytes, encodeWorkspace(decodeWorkspace(bytes)));
}

// The desktop client writes the same file: keys sorted, slashes as they are, whole numbers
// without a fraction, no key for an absent active environment.
TEST(WorkspaceCodingTest, WrittenLikeTheDesktopClientWritesIt) {
    EXPECT_EQ("{\n  \"collections\": [],\n  \"environments\": [],\n  \"version\": 1\n}", encodeWorkspace(Workspace{}));
    const auto bytes = encodeWorkspace(sampleWorkspace());
    EXPECT_EQ(0u, bytes.find("{\n  \"activeEnvironmentID\": \"22222222-2222-4222-8222-222222222222\",\n"
                             "  \"collections\": [\n"));
    EXPECT_NE(std::string::npos, bytes.find(R"("baseURL": "https://example.test/api")"));
    EXPECT_NE(std::string::npos, bytes.find(R"("timeout": 12.5)"));
    EXPECT_NE(std::string::npos, bytes.find("\"timeout\": 30,\n"));
}

TEST(WorkspaceCodingTest, ReadsWhatOtherWritersMayWrite) {
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
}

// Files of early builds lack the later keys: they read as the defaults and are written in full.
TEST(WorkspaceCodingTest, MissingKeysTakeTheDefaults) {
    const auto workspace = decodeWorkspace(withCollection(R"({"id":"11111111-1111-4111-8111-111111111111","name":"Old",
        "items":null,"icon":null})"));
    EXPECT_EQ((std::vector<APICollection>{{.id = collectionID, .name = "Old"}}), workspace.collections);
    EXPECT_EQ(9u, written(workspace.collections[0]).size());

    auto auth = written(Auth{});
    auth["oauth2"] = nlohmann::json::object();
    EXPECT_EQ(OAuth2Config{}, decodeAuth(JSONReader(JSONDocument::parse(auth.dump()))).oauth2);
}

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
        {withCollection(R"({"id":"11111111-1111-4111-8111-111111111111","name":null})"),
         "collections[0].name: Expected a string but found null."},
        {withCollection(R"({"id":"11111111-1111-4111-8111-111111111111","name":"C","notes":5})"),
         "collections[0].notes: Expected a string but found a number."},
        {R"({"version":1.5,"collections":[],"environments":[]})", "version: Expected an integer but found a fraction."},
        {R"({"version":1,"collections":{},"environments":[]})", "collections: Expected an array but found an object."},
        {R"({"version":1,"collections":[]})", "environments: Key not found."},
        {R"([])", "Expected an object but found an array."},
        {R"({"version":1,)", "The data is not valid JSON (error at offset 13)."},
        {R"({"version":x})", "The data is not valid JSON (error at offset 11)."},
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
