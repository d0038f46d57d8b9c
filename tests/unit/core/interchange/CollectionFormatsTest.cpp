// The formats collections are imported from and exported to, and the code snippets of a request.
#include "core/interchange/CodeGenerator.hpp"
#include "core/interchange/PostmanFormat.hpp"
#include "desktop/interchange/OpenAPIImport.hpp"

#include "ThrownText.hpp"
#include "core/model/ItemTree.hpp"
#include "core/model/WorkspaceCoding.hpp"
#include "core/support/AtomicFile.hpp"
#include "core/support/JSONWriter.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>

namespace tessaline {
namespace {

using nlohmann::json;

const std::string examples = std::string(TESSALINE_TEST_DATA) + "/postman-v2.1/examples/";

APICollection importPostman(const std::string& file) { return PostmanFormat::importCollection(atomicFile::read(examples + file)); }

APICollection importOpenAPI(const std::string& file) {
    return OpenAPIImport::importDocument(atomicFile::read(std::string(TESSALINE_TEST_DATA) + "/openapi/" + file));
}

APIRequest onlyRequest(const std::string& file) { return itemTree::allRequests(importPostman(file).items).at(0); }

TEST(PostmanFormatTest, ImportsEveryExampleWithTheURLsBodiesAndAuthOfBothVersions) {
    for (const auto& entry : std::filesystem::directory_iterator(examples)) {
        SCOPED_TRACE(entry.path().filename().string());
        const auto requests = itemTree::allRequests(importPostman(entry.path().filename()).items);
        ASSERT_FALSE(requests.empty());
        for (const auto& request : requests) EXPECT_FALSE(request.url.empty()) << request.name;
    }
    EXPECT_EQ(92u + 14u, itemTree::allIDs(importPostman("box.json").items).size()) << "92 requests in 14 folders";

    const auto request = onlyRequest("request.json");
    EXPECT_EQ("https://postman-echo.com/alpha/{{beta}}/radiation#random", request.url);
    EXPECT_EQ("foo=bar", request.query.at(0).key + "=" + request.query[0].value);
    EXPECT_EQ("https://ani{{yo}}ket:{{asd}}@{{hellohost}}:2002/crazyvar/{{yo}}/:awesome?a=b&c=d#/awesomeshit", onlyRequest("proper-url-parsing.json").url);
    const auto graphQL = onlyRequest("reqBodyGraphQL.json");
    EXPECT_EQ(BodyKind::json, graphQL.body.kind);
    EXPECT_EQ(R"({"query":"query Test { hello }","variables":{"foo":"bar"}})", graphQL.body.raw);
    const auto files = onlyRequest("formdata-body.json");
    ASSERT_EQ(4u, files.body.form.size());
    EXPECT_EQ("", files.body.form[0].value);  // a file part with no file chosen
    EXPECT_EQ("not_a_file", files.body.form[3].key);
    const auto httpbin = itemTree::allRequests(importPostman("httpbin.json").items);
    EXPECT_EQ(BodyKind::json, httpbin[0].body.kind);  // raw without a language: its Content-Type decides
    EXPECT_EQ("{\n    \"gimme\": \"somejson!\"\n}", httpbin[0].body.raw);
    EXPECT_EQ(BodyKind::multipart, httpbin[1].body.kind);
    EXPECT_EQ("postdata", httpbin[1].body.form.at(0).key);

    EXPECT_EQ((Auth{.kind = AuthKind::apiKey, .apiKeyName = "token", .apiKeyValue = "wkjehbxoqnunc2k3"}), onlyRequest("apikeyAuthTest.json").auth);
    EXPECT_EQ(AuthKind::bearer, onlyRequest("bearerAuthTest.json").auth.kind);
    const auto helpers = itemTree::allRequests(importPostman("helpers.json").items);
    EXPECT_EQ(AuthKind::none, helpers[0].auth.kind);  // OAuth 1 has no place here
    const auto oauth2 = helpers[1].auth.oauth2.value_or(OAuth2Config{});
    EXPECT_EQ((std::tuple{AuthKind::oauth2, "https://foo.com/at", "uniqueClientIdentifier", OAuth2ClientAuth::body, "https://foo.com/rd"}),
              std::tuple(helpers[1].auth.kind, oauth2.tokenURL, oauth2.clientID, oauth2.clientAuth, oauth2.redirectURI));
    const auto nested = importPostman("nestedEntities.json");
    EXPECT_EQ((std::pair{AuthKind::basic, std::string("{{username}}")}), std::pair(nested.auth.kind, nested.auth.username));
}

TEST(CollectionImportTest, PostmanAndOpenAPIImportsExplainWhatTheyCannotRead) {
    const auto postman = [](const char* text) { return thrownText([&] { PostmanFormat::importCollection(text); }); };
    const auto openAPI = [](const char* text) { return thrownText([&] { OpenAPIImport::importDocument(text); }); };
    const std::string notACollection =
        "Not a Postman collection: expected a v2.0 or v2.1 collection (with info.schema) or an environment (with values).";
    EXPECT_EQ("Not a Postman document: the text is not JSON.", postman("not json"));
    EXPECT_EQ(notACollection, postman("[1]"));
    EXPECT_EQ(notACollection, postman(R"({"info":{"name":"old","schema":"https://schema.getpostman.com/json/collection/v1.0.0/collection.json"}})"));
    EXPECT_EQ(notACollection, postman(R"({"name":"env","values":[]})"));
    const std::string notOpenAPI = "Not an OpenAPI document: expected an \"openapi\" 3.x or \"swagger\" 2.0 version field.";
    EXPECT_EQ("Not an OpenAPI document: the text is not JSON.", openAPI("{"));
    EXPECT_EQ(notOpenAPI, openAPI(R"({"openapi":"2.5"})"));
    EXPECT_EQ(notOpenAPI, openAPI(R"({"info":{},"item":[]})"));
    EXPECT_EQ(notOpenAPI, openAPI("[]"));
}

void eraseIDs(json& value) {
    if (!value.is_structured()) return;
    if (value.is_object()) value.erase("id");
    for (auto& member : value) eraseIDs(member);
}

// The record as it is stored, without the ids that an import makes anew.
template <class Record>
json withoutIDs(const Record& record) {
    JSONWriter writer;
    write(writer, record);
    auto stored = json::parse(std::move(writer).text());
    eraseIDs(stored);
    return stored;
}

APICollection sampleCollection() {
    OAuth2Config oauth2{{.grant = OAuth2Grant::deviceCode, .deviceAuthURL = "https://id.example.com/device",
                         .clientID = "cli", .scope = "read write", .usePKCE = false, .clientAuth = OAuth2ClientAuth::body,
                         .tokenParams = {{.key = "audience", .value = "api"}, {.key = "off", .value = "x", .enabled = false}}},
                        {.placement = OAuth2TokenPlacement::query, .queryParamName = "token", .useIDToken = true}};
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

TEST(PostmanFormatTest, ExportsTheVersionTwoOneShapeAndImportsItBackTheSameAsEnvironmentsDo) {
    const auto collection = sampleCollection();
    const auto exported = PostmanFormat::exportCollection(collection);
    EXPECT_EQ(withoutIDs(collection), withoutIDs(PostmanFormat::importCollection(exported)));
    // Not const: a missing member then reads as null instead of stopping the run.
    auto document = json::parse(exported);
    EXPECT_EQ("https://schema.getpostman.com/json/collection/v2.1.0/collection.json", document["info"]["schema"]);
    EXPECT_EQ(json::parse(R"([{"key":"baseUrl","value":"https://api.example.com/v1","type":"string"},
        {"key":"token","value":"abc","type":"string"},{"key":"off","value":"1","type":"string","disabled":true}])"),
              document["variable"]);

    auto first = document["item"][0]["request"];
    EXPECT_EQ(json::parse(R"({"raw":"{{baseUrl}}/users?a b=1%262=3%2B4%25","host":["{{baseUrl}}"],"path":["users"],
        "query":[{"key":"a b","value":"1%262=3%2B4%25"},{"key":"off","value":"{{x}}","disabled":true}]})"),
              first["url"]);
    EXPECT_EQ(json::parse(R"({"followRedirects":false,"timeout":2500})"), document["item"][0]["protocolProfileBehavior"]);

    auto form = document["item"][1]["item"][0]["request"];
    EXPECT_EQ(json::parse(R"({"raw":"https://other.example.com:8443/a/:id/b#frag","protocol":"https",
        "host":["other","example","com"],"port":"8443","path":["a",":id","b"],"hash":"frag","variable":[{"key":"id","value":""}]})"),
              form["url"]);
    EXPECT_EQ(json::parse(R"({"type":"apikey","apikey":[{"key":"key","value":"key","type":"string"},
        {"key":"value","value":"secret","type":"string"},{"key":"in","value":"query","type":"string"}]})"),
              form["auth"]);
    EXPECT_FALSE(document["item"][3]["request"].contains("body"));

    // Environments travel both ways too.
    const APIEnvironment environment{.name = "Prod", .variables = {{.key = "host", .value = "x"}, {.key = "off", .value = "", .enabled = false}}};
    const auto exportedEnvironment = PostmanFormat::exportEnvironment(environment);
    EXPECT_EQ("environment", json::parse(exportedEnvironment)["_postman_variable_scope"]);
    EXPECT_EQ(withoutIDs(environment), withoutIDs(std::get<APIEnvironment>(PostmanFormat::importDocument(exportedEnvironment))));

    // Values of other types are read as their text.
    EXPECT_EQ(withoutIDs(APIEnvironment{.name = "Staging", .variables = {{.key = "n", .value = "1", .enabled = false}}}),
              withoutIDs(std::get<APIEnvironment>(PostmanFormat::importDocument(R"({"name":"Staging","values":[{"key":"n","value":1,"enabled":false}]})"))));
}

TEST(OpenAPIImportTest, ReadsEveryExampleWithTagsParametersBodiesPathVariablesAndSecurity) {
    for (const auto& entry : std::filesystem::directory_iterator(TESSALINE_TEST_DATA "/openapi")) {
        if (entry.path().extension() != ".json") continue;
        SCOPED_TRACE(entry.path().filename().string());
        for (const auto& request : itemTree::allRequests(importOpenAPI(entry.path().filename()).items)) {
            EXPECT_TRUE(request.url.starts_with("/")) << request.url;
            EXPECT_FALSE(request.name.empty());
        }
    }
    for (const char* file : {"v3.0-petstore.json", "v2.0-petstore.json"}) {
        SCOPED_TRACE(file);
        const auto collection = importOpenAPI(file);
        EXPECT_EQ("Swagger Petstore", collection.name);
        EXPECT_EQ("http://petstore.swagger.io/v1", collection.baseURL);  // from the servers, or from scheme, host and basePath
        const auto* pets = collection.items.at(0).folder();
        ASSERT_TRUE(pets);
        EXPECT_EQ("pets", pets->name);
        const auto requests = itemTree::allRequests(pets->items);
        EXPECT_EQ("List all pets", requests.at(0).name);
        EXPECT_EQ("limit", requests[0].query.at(0).key);
        EXPECT_FALSE(requests[0].query[0].enabled) << "an optional parameter";
        EXPECT_EQ("GET /pets/{{petId}}", std::string(toString(requests.at(2).method)) + " " + requests[2].url);
        EXPECT_EQ("petId", collection.variables.at(0).key);
    }
    EXPECT_EQ((RequestBody{.kind = BodyKind::json, .raw = "{\n  \"id\": 0,\n  \"name\": \"string\",\n  \"tag\": \"string\"\n}"}),
              itemTree::allRequests(importOpenAPI("v3.0-petstore.json").items).at(1).body);
    EXPECT_EQ((RequestBody{.kind = BodyKind::json, .raw = "{\n  \"name\": \"string\",\n  \"tag\": \"string\"\n}"}),
              itemTree::allRequests(importOpenAPI("v2.0-petstore-expanded.json").items).at(1).body);

    const auto uspto = importOpenAPI("v3.0-uspto.json");
    EXPECT_EQ("https://developer.uspto.gov/ds-api", uspto.baseURL);  // the server's variables at their defaults
    const auto search = itemTree::allRequests(uspto.items).back();
    EXPECT_EQ("/{{dataset}}/{{version}}/records", search.url);
    EXPECT_EQ(BodyKind::formURLEncoded, search.body.kind);
    EXPECT_EQ("criteria=*:*", search.body.form.at(0).key + "=" + search.body.form.at(0).value);

    // The security of the document, and of each operation.
    const auto secured = OpenAPIImport::importDocument(R"({"openapi":"3.0.0","info":{"title":"T"},"security":[{"o":["read","write"]}],
        "components":{"securitySchemes":{"o":{"type":"oauth2","flows":{"clientCredentials":{"tokenUrl":"https://id/token","scopes":{}}}},
                                         "k":{"type":"apiKey","in":"query","name":"api_key"}},
                      "schemas":{"Node":{"type":"object","properties":{"next":{"$ref":"#/components/schemas/Node"}}}}},
        "paths":{"/a":{"post":{"security":[{"k":[]}],"requestBody":{"content":{"application/json":{"schema":{"$ref":"#/components/schemas/Node"}}}}},
                       "get":{"security":[]}}}})");
    ASSERT_EQ(AuthKind::oauth2, secured.auth.kind);
    EXPECT_EQ(OAuth2Grant::clientCredentials, secured.auth.oauth2->grant);
    EXPECT_EQ("https://id/token", secured.auth.oauth2->tokenURL);
    EXPECT_EQ("read write", secured.auth.oauth2->scope);
    const auto requests = itemTree::allRequests(secured.items);
    EXPECT_EQ(Auth::none(), requests.at(0).auth);
    EXPECT_EQ((Auth{.kind = AuthKind::apiKey, .apiKeyName = "api_key", .apiKeyIn = APIKeyLocation::query}), requests.at(1).auth);
    EXPECT_TRUE(requests.at(1).body.raw.starts_with("{\n  \"next\": {\n    \"next\": {")) << "a cycle ends, it does not loop";
}

// The snippets of every other language are run end to end against a local server; Swift's
// runtime is missing there, so its text is checked here.
TEST(CodeGeneratorTest, WritesSwiftWithEveryHeaderAndItsEscapes) {
    constexpr char body[] = "{\"name\":\"Ada \\\"L\\\" é\",\n\t\"x\":\"\x01\0\x7F\r\"}";
    const ResolvedRequest text{.method = HTTPMethod::post,
                               .url = "https://api.example.com/users?q=a%20b",
                               .headers = {{"X-Tag", "a"}, {"X-Tag", "\"b\""}},
                               .body = std::string(body, sizeof body - 1),
                               .bodyKind = BodyKind::json};
    const auto swift = CodeGenerator::generate(CodeGenerator::Target::swift, text);
    // What follows is the same for every request.
    EXPECT_EQ(
        "import Foundation\n\n"
        "var request = URLRequest(url: URL(string: \"https://api.example.com/users?q=a%20b\")!)\n"
        "request.httpMethod = \"POST\"\n"
        "request.addValue(\"a\", forHTTPHeaderField: \"X-Tag\")\n"
        "request.addValue(\"\\\"b\\\"\", forHTTPHeaderField: \"X-Tag\")\n"
        "request.httpBody = Data(\"{\\\"name\\\":\\\"Ada \\\\\\\"L\\\\\\\" é\\\",\\n\\t\\\"x\\\":\\\"\\u{1}\\0\\u{7F}\\r\\\"}\".utf8)\n\n",
        swift.substr(0, swift.find("let semaphore")));
    EXPECT_TRUE(swift.ends_with("task.resume()\nsemaphore.wait()\n")) << swift;

    const ResolvedRequest binary{.method = HTTPMethod::put, .url = "https://x/b", .body = std::string("\xFF\0a", 3)};
    EXPECT_NE(std::string::npos, CodeGenerator::generate(CodeGenerator::Target::swift, binary)
                                     .find("request.httpMethod = \"PUT\"\nrequest.httpBody = Data(base64Encoded: \"/wBh\")!\n"));
}

}  // namespace
}  // namespace tessaline
