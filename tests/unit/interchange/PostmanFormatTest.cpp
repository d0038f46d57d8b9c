#include "interchange/PostmanFormat.hpp"

#include "interchange/ImportError.hpp"
#include "model/ItemTree.hpp"
#include "support/AtomicFile.hpp"
#include "support/Overloaded.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tessaline {
namespace {

using nlohmann::json;

const std::string examples = std::string(TESSALINE_TEST_DATA) + "/postman-v2.1/examples/";

APICollection importExample(const std::string& file) { return PostmanFormat::importCollection(atomicFile::read(examples + file)); }

std::size_t folderCount(const std::vector<CollectionItem>& items) {
    std::size_t count = 0;
    for (const auto& item : items) {
        if (const auto* folder = item.folder()) count += 1 + folderCount(folder->items);
    }
    return count;
}

struct ExampleCase {
    const char* file;
    const char* name;
    std::size_t requests;
    std::size_t folders;
    const char* firstRequest;
};

class PostmanExamples : public ::testing::TestWithParam<ExampleCase> {};

TEST_P(PostmanExamples, ImportIntoSensibleCollections) {
    const auto& example = GetParam();
    const auto collection = importExample(example.file);
    EXPECT_EQ(example.name, collection.name);
    const auto requests = itemTree::allRequests(collection.items);
    EXPECT_EQ(example.requests, requests.size());
    EXPECT_EQ(example.folders, folderCount(collection.items));
    ASSERT_FALSE(requests.empty());
    EXPECT_EQ(example.firstRequest, requests.front().name);
    for (const auto& request : requests) EXPECT_FALSE(request.url.empty()) << request.name;
}

INSTANTIATE_TEST_SUITE_P(
    All, PostmanExamples,
    ::testing::Values(ExampleCase{"apikeyAuthTest.json", "apikeyAuthTest", 1, 0, "test apikey auth success"},
                      ExampleCase{"bearerAuthTest.json", "bearerAuthTest", 1, 0, "test bearer auth success"},
                      ExampleCase{"box.json", "Box Content API", 92, 14, "Get Pending Collaborations"},
                      ExampleCase{"collection.json", "Box Content API", 92, 14, "Get Pending Collaborations"},
                      ExampleCase{"edgegridAuthTest.json", "edgegridAuthTest", 1, 0, "test edgegrid auth success"},
                      ExampleCase{"formdata-body.json", "C1", 1, 0, "POST /post"},
                      ExampleCase{"github.json", "Github", 10, 2, "List Contributors"},
                      ExampleCase{"hackernews.json", "HackerNews API", 8, 3, "Story"},
                      ExampleCase{"hawkAuthTest.json", "hawkAuthTest", 1, 0, "test hawk auth success"},
                      ExampleCase{"helpers.json", "c1", 4, 0, "OAuth"},
                      ExampleCase{"httpMethods.json", "HTTP Methods", 3, 0, "Standard HTTP Method"},
                      ExampleCase{"httpbin.json", "httpbin", 4, 1, "POST with URL params and JSON"},
                      ExampleCase{"jsonblob.json", "JSONBlob Core API", 4, 0, "Create a Blob"},
                      ExampleCase{"nestedEntities.json", "auth-v2.1", 2, 1, "Basic"},
                      ExampleCase{"ntlmAuthTest.json", "ntlmAuthTest", 1, 0, "test ntlm auth success"},
                      ExampleCase{"proper-url-parsing.json", "proper-url-parsing", 1, 0, "request with hostname as variable"},
                      ExampleCase{"req-body-file-src-null.json", "Collection with file request body src as null", 1, 0, "POST /post"},
                      ExampleCase{"reqBodyContentType.json", "content-type", 3, 0, "default"},
                      ExampleCase{"reqBodyGraphQL.json", "GraphQL Request", 1, 0, "default"},
                      ExampleCase{"reqBodyNull.json", "request with null body", 1, 0, "default"},
                      ExampleCase{"request.json", "Complete request structure", 1, 0, "Sample request"},
                      ExampleCase{"responseBodyNull.json", "request with null body", 1, 0, "default"},
                      ExampleCase{"syncapi.json", "Sync API", 67, 10, "Create CollectionRun"},
                      ExampleCase{"twitter.json", "Twitter", 18, 4, "Mentions"},
                      ExampleCase{"v2.json", "c1", 3, 0, "OAuth"}));

APIRequest onlyRequest(const APICollection& collection) { return itemTree::allRequests(collection.items).at(0); }

TEST(PostmanFormatTest, ReadsURLsWithTheirParts) {
    auto request = onlyRequest(importExample("request.json"));
    EXPECT_EQ("https://postman-echo.com/alpha/{{beta}}/radiation#random", request.url);
    ASSERT_EQ(1u, request.query.size());
    EXPECT_EQ("foo", request.query[0].key);
    EXPECT_EQ("bar", request.query[0].value);
    EXPECT_EQ(BodyKind::multipart, request.body.kind);
    EXPECT_EQ("cr1", request.body.form.at(0).value);

    request = onlyRequest(importExample("proper-url-parsing.json"));
    EXPECT_EQ("https://ani{{yo}}ket:{{asd}}@{{hellohost}}:2002/crazyvar/{{yo}}/:awesome?a=b&c=d#/awesomeshit", request.url);
}

TEST(PostmanFormatTest, ReadsBodiesOfEveryMode) {
    const auto graphQL = onlyRequest(importExample("reqBodyGraphQL.json"));
    EXPECT_EQ(BodyKind::json, graphQL.body.kind);
    EXPECT_EQ(R"({"query":"query Test { hello }","variables":{"foo":"bar"}})", graphQL.body.raw);

    const auto files = onlyRequest(importExample("formdata-body.json"));
    ASSERT_EQ(4u, files.body.form.size());
    EXPECT_EQ("", files.body.form[0].value);  // a file part with no file chosen
    EXPECT_EQ("not_a_file", files.body.form[3].key);

    const auto httpbin = itemTree::allRequests(importExample("httpbin.json").items);
    EXPECT_EQ(BodyKind::json, httpbin[0].body.kind);  // raw without a language: its Content-Type decides
    EXPECT_EQ("{\n    \"gimme\": \"somejson!\"\n}", httpbin[0].body.raw);
    EXPECT_EQ(BodyKind::multipart, httpbin[1].body.kind);
    EXPECT_EQ("postdata", httpbin[1].body.form.at(0).key);
}

TEST(PostmanFormatTest, ReadsAuthOfBothVersionsAndInheritsFolderAuth) {
    const auto apiKey = onlyRequest(importExample("apikeyAuthTest.json")).auth;
    EXPECT_EQ(AuthKind::apiKey, apiKey.kind);
    EXPECT_EQ("token", apiKey.apiKeyName);
    EXPECT_EQ("wkjehbxoqnunc2k3", apiKey.apiKeyValue);
    EXPECT_EQ(AuthKind::bearer, onlyRequest(importExample("bearerAuthTest.json")).auth.kind);

    const auto helpers = itemTree::allRequests(importExample("helpers.json").items);
    const auto& oauth2 = helpers[1].auth;
    ASSERT_EQ(AuthKind::oauth2, oauth2.kind);
    EXPECT_EQ("https://foo.com/at", oauth2.oauth2->tokenURL);
    EXPECT_EQ("uniqueClientIdentifier", oauth2.oauth2->clientID);
    EXPECT_EQ(OAuth2ClientAuth::body, oauth2.oauth2->clientAuth);
    EXPECT_EQ("https://foo.com/rd", oauth2.oauth2->redirectURI);
    EXPECT_EQ(AuthKind::none, helpers[0].auth.kind);  // OAuth 1 has no place here

    const auto nested = importExample("nestedEntities.json");
    EXPECT_EQ(AuthKind::basic, nested.auth.kind);
    EXPECT_EQ("{{username}}", nested.auth.username);
    EXPECT_EQ((std::vector<std::string>{"key"}), [&] {
        std::vector<std::string> keys;
        for (const auto& row : nested.variables) keys.push_back(row.key);
        return keys;
    }());
}

TEST(PostmanFormatTest, ReadsEnvironments) {
    const auto document = PostmanFormat::importDocument(
        R"({"id":"x","name":"Staging","values":[{"key":"host","value":"s.example.com","enabled":true},{"key":"off","value":1,"enabled":false}]})");
    const auto& environment = std::get<APIEnvironment>(document);
    EXPECT_EQ("Staging", environment.name);
    ASSERT_EQ(2u, environment.variables.size());
    EXPECT_EQ("s.example.com", environment.variables[0].value);
    EXPECT_EQ("1", environment.variables[1].value);
    EXPECT_FALSE(environment.variables[1].enabled);
}

TEST(PostmanFormatTest, ExplainsWhatItCannotRead) {
    const std::pair<const char*, const char*> cases[] = {
        {"not json", "Not a Postman document: the text is not JSON."},
        {"[1]", "Not a Postman collection: expected a v2.0 or v2.1 collection (with info.schema) or an environment (with values)."},
        {R"({"info":{"name":"old","schema":"https://schema.getpostman.com/json/collection/v1.0.0/collection.json"}})",
         "Not a Postman collection: expected a v2.0 or v2.1 collection (with info.schema) or an environment (with values)."},
        {R"({"name":"env","values":[]})",
         "Not a Postman collection: expected a v2.0 or v2.1 collection (with info.schema) or an environment (with values)."},
    };
    for (const auto& [text, message] : cases) {
        try {
            PostmanFormat::importCollection(text);
            ADD_FAILURE() << text;
        } catch (const ImportError& error) {
            EXPECT_STREQ(message, error.what()) << text;
        }
    }
}

// Every id made anew, as an import does, so that two collections can be compared.
void clearIDs(std::vector<CollectionItem>& items) {
    for (auto& item : items) {
        std::visit(Overloaded{
                       [](Folder& folder) {
                           folder.id = {};
                           clearIDs(folder.items);
                       },
                       [](APIRequest& request) {
                           request.id = {};
                           for (auto* rows : {&request.query, &request.headers, &request.body.form}) {
                               for (auto& row : *rows) row.id = {};
                           }
                           if (request.auth.oauth2) {
                               for (auto& row : request.auth.oauth2->authParams) row.id = {};
                               for (auto& row : request.auth.oauth2->tokenParams) row.id = {};
                           }
                       },
                   },
                   item.payload);
    }
}

APICollection withoutIDs(APICollection collection) {
    collection.id = {};
    for (auto& row : collection.variables) row.id = {};
    clearIDs(collection.items);
    return collection;
}

APICollection sampleCollection() {
    OAuth2Config oauth2{.grant = OAuth2Grant::deviceCode, .deviceAuthURL = "https://id.example.com/device",
                        .clientID = "cli", .scope = "read write", .usePKCE = false, .clientAuth = OAuth2ClientAuth::body,
                        .tokenParams = {{.key = "audience", .value = "api"}, {.key = "off", .value = "x", .enabled = false}},
                        .placement = OAuth2TokenPlacement::query, .queryParamName = "token", .useIDToken = true};
    APIRequest create{.name = "Create “user”", .method = HTTPMethod::post, .url = "/users",
                    .query = {{.key = "a b", .value = "1&2=3+4%", .enabled = true}, {.key = "off", .value = "{{x}}", .enabled = false}},
                    .headers = {{.key = "X-Trace", .value = "é\"\\"}, {.key = "X-Off", .value = "1", .enabled = false}},
                    .body = {.kind = BodyKind::json, .raw = "{\n  \"name\": \"Ada\"\n}", .form = {{.key = "kept", .value = "v"}}},
                    .auth = {.kind = AuthKind::bearer, .token = "{{token}}", .username = "left over"},
                    .notes = "Makes a user.", .followRedirects = false, .timeout = 2.5};
    APIRequest form{.name = "Form", .method = HTTPMethod::put, .url = "https://other.example.com:8443/a/:id/b#frag",
                    .body = {.kind = BodyKind::formURLEncoded, .form = {{.key = "k", .value = "v"}, {.key = "o", .value = "", .enabled = false}}},
                    .auth = {.kind = AuthKind::apiKey, .apiKeyName = "key", .apiKeyValue = "secret", .apiKeyIn = APIKeyLocation::query}};
    APIRequest upload{.name = "Upload", .method = HTTPMethod::post, .url = "/files",
                      .body = {.kind = BodyKind::multipart, .form = {{.key = "doc", .value = "@/tmp/a b.pdf"}, {.key = "note", .value = "hi"}}},
                      .auth = {.kind = AuthKind::oauth2, .oauth2 = oauth2}};
    APIRequest none{.name = "Nothing", .method = HTTPMethod::delete_, .url = "/x",
                    .body = {.kind = BodyKind::none, .raw = "kept raw"}, .auth = {.kind = AuthKind::none}};
    APIRequest xml{.name = "XML", .method = HTTPMethod::patch, .url = "/x", .body = {.kind = BodyKind::xml, .raw = "<a/>"}};
    APIRequest text{.name = "Text", .method = HTTPMethod::options, .url = "/t", .body = {.kind = BodyKind::text, .raw = "plain"},
                    .auth = {.kind = AuthKind::basic, .username = "u", .password = "p:w"}};
    Folder inner(Uuid::random(), "Inner", {upload, none});
    Folder outer(Uuid::random(), "Outer", {form, inner, xml});
    return {.name = "Round trip", .items = {create, outer, text, APIRequest{.name = "HEAD", .method = HTTPMethod::head, .url = "/h"}},
            .variables = {{.key = "token", .value = "abc"}, {.key = "off", .value = "1", .enabled = false}},
            .auth = {.kind = AuthKind::bearer, .token = "collection"}, .notes = "All kinds.", .baseURL = "https://api.example.com/v1"};
}

TEST(PostmanFormatTest, ExportThenImportGivesTheSameCollection) {
    const auto collection = sampleCollection();
    const auto exported = PostmanFormat::exportCollection(collection);
    EXPECT_EQ(withoutIDs(collection), withoutIDs(PostmanFormat::importCollection(exported)));
    // A second round trip changes nothing in the text either, ids apart.
    auto again = PostmanFormat::importCollection(exported);
    again.id = collection.id;
    EXPECT_EQ(nlohmann::json::parse(exported)["variable"], nlohmann::json::parse(PostmanFormat::exportCollection(again))["variable"]);
}

TEST(PostmanFormatTest, ExportsTheVersionTwoOneShape) {
    const auto document = nlohmann::json::parse(PostmanFormat::exportCollection(sampleCollection()));
    EXPECT_EQ("https://schema.getpostman.com/json/collection/v2.1.0/collection.json", document["info"]["schema"]);
    EXPECT_EQ("All kinds.", document["info"]["description"]);
    EXPECT_EQ(json::parse(R"([{"key":"baseUrl","value":"https://api.example.com/v1","type":"string"},
        {"key":"token","value":"abc","type":"string"},{"key":"off","value":"1","type":"string","disabled":true}])"),
              document["variable"]);

    const auto& first = document["item"][0]["request"];
    EXPECT_EQ("POST", first["method"]);
    EXPECT_EQ(json::parse(R"({"raw":"{{baseUrl}}/users?a b=1%262=3%2B4%25","host":["{{baseUrl}}"],"path":["users"],
        "query":[{"key":"a b","value":"1%262=3%2B4%25"},{"key":"off","value":"{{x}}","disabled":true}]})"),
              first["url"]);
    EXPECT_EQ(json::parse(R"({"mode":"raw","raw":"{\n  \"name\": \"Ada\"\n}","options":{"raw":{"language":"json"}},
        "urlencoded":[{"key":"kept","value":"v"}]})"),
              first["body"]);
    EXPECT_EQ(json::parse(R"([{"key":"X-Trace","value":"é\"\\"},{"key":"X-Off","value":"1","disabled":true}])"), first["header"]);
    EXPECT_EQ(json::parse(R"({"followRedirects":false,"timeout":2500})"), document["item"][0]["protocolProfileBehavior"]);

    const auto& outer = document["item"][1];
    EXPECT_EQ("Outer", outer["name"]);
    const auto& formURL = outer["item"][0]["request"]["url"];
    EXPECT_EQ(json::parse(R"({"raw":"https://other.example.com:8443/a/:id/b#frag","protocol":"https",
        "host":["other","example","com"],"port":"8443","path":["a",":id","b"],"hash":"frag","variable":[{"key":"id","value":""}]})"),
              formURL);
    EXPECT_EQ(json::parse(R"({"type":"apikey","apikey":[{"key":"key","value":"key","type":"string"},
        {"key":"value","value":"secret","type":"string"},{"key":"in","value":"query","type":"string"}]})"),
              outer["item"][0]["request"]["auth"]);
    EXPECT_EQ(json::parse(R"({"mode":"formdata","formdata":[{"key":"doc","type":"file","src":"/tmp/a b.pdf"},
        {"key":"note","type":"text","value":"hi"}]})"),
              outer["item"][1]["item"][0]["request"]["body"]);
    EXPECT_FALSE(document["item"][3]["request"].contains("body"));
}

TEST(PostmanFormatTest, ExportsEnvironments) {
    const APIEnvironment environment{.name = "Prod", .variables = {{.key = "host", .value = "x"}, {.key = "off", .value = "", .enabled = false}}};
    const auto document = nlohmann::json::parse(PostmanFormat::exportEnvironment(environment));
    EXPECT_EQ("Prod", document["name"]);
    EXPECT_EQ("environment", document["_postman_variable_scope"]);
    const auto back = std::get<APIEnvironment>(PostmanFormat::importDocument(document.dump()));
    EXPECT_EQ(environment.variables.size(), back.variables.size());
    EXPECT_EQ("host", back.variables[0].key);
    EXPECT_FALSE(back.variables[1].enabled);
}

}  // namespace
}  // namespace tessaline
