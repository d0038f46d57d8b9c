#include "model/WorkspaceCoding.hpp"
#include "model/Written.hpp"

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

// Decodes and returns the error's text, failing the test when decoding succeeds.
std::string decodingFailure(const std::string& document) {
    try {
        decodeWorkspace(document);
    } catch (const DecodingError& error) {
        return error.what();
    }
    ADD_FAILURE() << "decoded without error: " << document;
    return {};
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

TEST(WorkspaceCodingTest, EveryRecordSurvivesARoundTrip) {
    const auto workspace = sampleWorkspace();
    const auto bytes = encodeWorkspace(workspace);
    EXPECT_EQ(workspace, decodeWorkspace(bytes));
    EXPECT_EQ(bytes, encodeWorkspace(decodeWorkspace(bytes)));
}

TEST(WorkspaceCodingTest, EqualWorkspacesGiveIdenticalBytes) {
    auto first = sampleWorkspace();
    auto second = sampleWorkspace();
    second.collections[0].variables[0] = first.collections[0].variables[0];
    first.collections[0].items = second.collections[0].items;
    second.environments[0].variables = first.environments[0].variables;
    second.collections[0].color = "blue";
    second.collections[0].color = "red";
    EXPECT_EQ(encodeWorkspace(first), encodeWorkspace(second));
}

TEST(WorkspaceCodingTest, WriterSortsKeysKeepsSlashesAndWritesWholeTimeoutsWithoutFraction) {
    const auto bytes = encodeWorkspace(sampleWorkspace());
    EXPECT_NE(std::string::npos, bytes.find(R"("baseURL": "https://example.test/api")"));
    EXPECT_NE(std::string::npos, bytes.find(R"("timeout": 12.5)"));
    EXPECT_NE(std::string::npos, bytes.find("\"timeout\": 30,\n"));
    EXPECT_EQ(std::string::npos, bytes.find("30.0"));
    EXPECT_EQ(0u, bytes.find("{\n  \"activeEnvironmentID\": \"22222222-2222-4222-8222-222222222222\",\n"
                             "  \"collections\": [\n"));
}

TEST(WorkspaceCodingTest, EmptyWorkspaceHasNoActiveEnvironmentKey) {
    EXPECT_EQ("{\n  \"collections\": [],\n  \"environments\": [],\n  \"version\": 1\n}", encodeWorkspace(Workspace{}));
}

TEST(WorkspaceCodingTest, NullAndMissingActiveEnvironmentBothMeanNone) {
    EXPECT_EQ(Workspace{}, decodeWorkspace(R"({"version":1,"collections":[],"environments":[]})"));
    EXPECT_EQ(Workspace{}, decodeWorkspace(R"({"version":1,"collections":[],"environments":[],"activeEnvironmentID":null})"));
}

TEST(WorkspaceCodingTest, UuidsReadCaseInsensitivelyAndWriteUpperCase) {
    const auto workspace = decodeWorkspace(
        R"({"version":1,"collections":[],"environments":[],"activeEnvironmentID":"abcdefab-cdef-4abc-8def-abcdefabcdef"})");
    EXPECT_EQ("ABCDEFAB-CDEF-4ABC-8DEF-ABCDEFABCDEF", workspace.activeEnvironmentID->text());
}

TEST(WorkspaceCodingTest, TimeoutReadsFromIntegerAndFraction) {
    for (const auto* timeout : {"30", "30.0", "3e1"}) {
        auto request = nlohmann::json::parse(requestJSON());
        request["timeout"] = nlohmann::json::parse(timeout);
        const auto workspace = decodeWorkspace(withItem(R"({"request":{"_0":)" + request.dump() + "}}"));
        EXPECT_EQ(30.0, workspace.collections[0].items[0].request()->timeout) << timeout;
    }
}

TEST(WorkspaceCodingTest, CollectionWithOnlyIdAndNameTakesDefaultsAndIsWrittenInFull) {
    const auto workspace = decodeWorkspace(withCollection(R"({"id":"11111111-1111-4111-8111-111111111111","name":"Old",
        "items":null,"icon":null})"));
    const APICollection expected{.id = collectionID, .name = "Old"};
    ASSERT_EQ(1u, workspace.collections.size());
    EXPECT_EQ(expected, workspace.collections[0]);
    EXPECT_EQ(Auth::none(), workspace.collections[0].auth);
    EXPECT_EQ("square.stack.3d.up.fill", workspace.collections[0].icon);
    EXPECT_EQ("indigo", workspace.collections[0].color);
    const auto collection = written(workspace.collections[0]);
    EXPECT_EQ(9u, collection.size());
    EXPECT_EQ("X-API-Key", collection["auth"]["apiKeyName"]);
}

TEST(WorkspaceCodingTest, EmptyOAuth2ObjectIsTheDefaultConfiguration) {
    auto auth = written(Auth{});
    auth["oauth2"] = nlohmann::json::object();
    const auto document = JSONDocument::parse(auth.dump());
    const auto config = decodeAuth(JSONReader(document)).oauth2;
    ASSERT_TRUE(config.has_value());
    EXPECT_EQ(OAuth2Config{}, *config);
    EXPECT_EQ(OAuth2Grant::authorizationCode, config->grant);
    EXPECT_TRUE(config->usePKCE);
    EXPECT_EQ(OAuth2ClientAuth::basicHeader, config->clientAuth);
    EXPECT_EQ("Bearer", config->headerPrefix);
    EXPECT_EQ("access_token", config->queryParamName);
    EXPECT_FALSE(config->useIDToken);
    EXPECT_EQ(19u, written(*config).size());
}

TEST(WorkspaceCodingTest, UnknownKeysAreIgnored) {
    auto request = nlohmann::json::parse(requestJSON());
    request["extra"] = {1, 2};
    const auto workspace = decodeWorkspace(withItem(R"({"request":{"_0":)" + request.dump() + R"(,"x":1},"note":true})"));
    EXPECT_EQ("R", workspace.collections[0].items[0].name());
}

TEST(WorkspaceCodingTest, ItemNeedsExactlyOneCaseKey) {
    const std::string folder = R"({"_0":{"id":"11111111-1111-4111-8111-111111111111","name":"F","items":[]}})";
    const std::string request = R"({"_0":)" + requestJSON() + "}";
    const std::string expected =
        "collections[0].items[1]: Invalid number of keys found, expected one.";
    const std::string good = R"({"folder":)" + folder + "},";
    EXPECT_EQ(expected, decodingFailure(withItem(good + R"({"folder":)" + folder + R"(,"request":)" + request + "}")));
    EXPECT_EQ(expected, decodingFailure(withItem(good + "{}")));
    EXPECT_EQ(expected, decodingFailure(withItem(good + R"({"link":)" + folder + "}")));
    EXPECT_EQ("collections[0].items[0].request: Expected an object but found a number.",
              decodingFailure(withItem(R"({"request":1})")));
    EXPECT_EQ("collections[0].items[0].request._0: Key not found.", decodingFailure(withItem(R"({"request":{"0":{}}})")));
}

TEST(WorkspaceCodingTest, ErrorsNameTheirCodingPath) {
    const std::string nested = R"({"folder":{"_0":{"id":"11111111-1111-4111-8111-111111111111","name":"F","items":[)";
    struct Case {
        std::string document, expected;
    } cases[] = {
        {withItem(R"({"request":{"_0":)" + requestJSON("timeout") + "}}"),
         "collections[0].items[0].request._0.timeout: Key not found."},
        {withItem(nested + R"({"request":{"_0":)" + requestJSON("url") + "}}]}}}"),
         "collections[0].items[0].folder._0.items[0].request._0.url: Key not found."},
        {withItem(R"({"request":{"_0":)" + requestJSON().replace(requestJSON().find("\"GET\""), 5, "\"get\"") + "}}"),
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
    for (const auto& c : cases) EXPECT_EQ(c.expected, decodingFailure(c.document)) << c.document;
}

TEST(WorkspaceCodingTest, DeepNestingIsRejectedNotOverflowed) {
    std::string items;
    for (int i = 0; i < 200; ++i) items += R"({"folder":{"_0":{"id":"11111111-1111-4111-8111-111111111111","name":"F","items":[)";
    for (int i = 0; i < 200; ++i) items += "]}}}";
    const auto message = decodingFailure(withItem(items));
    EXPECT_NE(std::string::npos, message.find(": The document is nested too deeply.")) << message;
}

TEST(WorkspaceCodingTest, DecodingErrorKeepsKindPathAndDescription) {
    try {
        decodeWorkspace(withItem("{}"));
        FAIL();
    } catch (const DecodingError& error) {
        EXPECT_EQ(DecodingError::Kind::wrongType, error.kind());
        EXPECT_EQ("collections[0].items[0]", error.path());
        EXPECT_EQ("Invalid number of keys found, expected one.", error.description());
    }
}

}  // namespace
}  // namespace tessaline
