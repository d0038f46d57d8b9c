#include "interchange/OpenAPIImport.hpp"

#include "ThrownText.hpp"
#include "model/ItemTree.hpp"
#include "support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <filesystem>

namespace tessaline {
namespace {

APICollection importExample(const std::string& file) {
    return OpenAPIImport::importDocument(atomicFile::read(std::string(TESSALINE_TEST_DATA) + "/openapi/" + file));
}

TEST(OpenAPIImportTest, ImportsEveryExampleIntoASensibleCollection) {
    for (const auto& entry : std::filesystem::directory_iterator(TESSALINE_TEST_DATA "/openapi")) {
        if (entry.path().extension() != ".json") continue;
        SCOPED_TRACE(entry.path().filename().string());
        for (const auto& request : itemTree::allRequests(importExample(entry.path().filename()).items)) {
            EXPECT_TRUE(request.url.starts_with("/")) << request.url;
            EXPECT_FALSE(request.name.empty());
        }
    }
    const struct {
        const char* file;
        const char* name;
        std::size_t requests;
        std::size_t folders;
        const char* baseURL;
    } cases[] = {
        {"v2.0-api-with-examples.json", "Simple API overview", 2, 0, ""},
        {"v2.0-petstore.json", "Swagger Petstore", 3, 1, "http://petstore.swagger.io/v1"},
        {"v2.0-uber.json", "Uber API", 5, 3, "https://api.uber.com/v1"},
        {"v3.0-uspto.json", "USPTO Data Set API", 3, 2, "https://developer.uspto.gov/ds-api"},
        {"v3.1-webhook-example.json", "Webhook Example", 0, 0, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        const auto collection = importExample(c.file);
        EXPECT_EQ(c.name, collection.name);
        EXPECT_EQ(c.baseURL, collection.baseURL);
        EXPECT_EQ(c.requests, itemTree::requestCount(collection.items));
        EXPECT_EQ(c.folders, std::count_if(collection.items.begin(), collection.items.end(), [](const auto& item) { return item.folder(); }));
    }
}

TEST(OpenAPIImportTest, ReadsTagsParametersBodiesAndPathVariables) {
    for (const char* file : {"v3.0-petstore.json", "v2.0-petstore.json"}) {
        SCOPED_TRACE(file);
        const auto collection = importExample(file);
        const auto* pets = collection.items.at(0).folder();
        ASSERT_TRUE(pets);
        EXPECT_EQ("pets", pets->name);
        const auto list = *pets->items.at(0).request();
        EXPECT_EQ("List all pets", list.name);
        EXPECT_EQ("/pets", list.url);
        ASSERT_EQ(1u, list.query.size());
        EXPECT_EQ("limit", list.query[0].key);
        EXPECT_FALSE(list.query[0].enabled);
        EXPECT_EQ(HTTPMethod::post, pets->items.at(1).request()->method);
        EXPECT_EQ("/pets/{{petId}}", pets->items.at(2).request()->url);
        ASSERT_EQ(1u, collection.variables.size());
        EXPECT_EQ("petId", collection.variables[0].key);
    }
    EXPECT_EQ((RequestBody{.kind = BodyKind::json, .raw = "{\n  \"id\": 0,\n  \"name\": \"string\",\n  \"tag\": \"string\"\n}"}),
              itemTree::allRequests(importExample("v3.0-petstore.json").items).at(1).body);
    EXPECT_EQ((RequestBody{.kind = BodyKind::json, .raw = "{\n  \"name\": \"string\",\n  \"tag\": \"string\"\n}"}),
              itemTree::allRequests(importExample("v2.0-petstore-expanded.json").items).at(1).body);

    const auto search = itemTree::allRequests(importExample("v3.0-uspto.json").items).back();
    EXPECT_EQ("/{{dataset}}/{{version}}/records", search.url);
    EXPECT_EQ(BodyKind::formURLEncoded, search.body.kind);
    EXPECT_EQ("criteria=*:*", search.body.form.at(0).key + "=" + search.body.form.at(0).value);
}

TEST(OpenAPIImportTest, ReadsSecurityOfTheDocumentAndOfEachOperation) {
    const auto scopes = itemTree::allRequests(importExample("v3.1-non-oauth-scopes.json").items).at(0);
    EXPECT_EQ(AuthKind::bearer, scopes.auth.kind);
    EXPECT_EQ("GET /users", scopes.name);

    const auto collection = OpenAPIImport::importDocument(R"({"openapi":"3.0.0","info":{"title":"T"},"security":[{"o":["read","write"]}],
        "components":{"securitySchemes":{"o":{"type":"oauth2","flows":{"clientCredentials":{"tokenUrl":"https://id/token","scopes":{}}}},
                                         "k":{"type":"apiKey","in":"query","name":"api_key"}},
                      "schemas":{"Node":{"type":"object","properties":{"next":{"$ref":"#/components/schemas/Node"}}}}},
        "paths":{"/a":{"post":{"security":[{"k":[]}],"requestBody":{"content":{"application/json":{"schema":{"$ref":"#/components/schemas/Node"}}}}},
                       "get":{"security":[]}}}})");
    ASSERT_EQ(AuthKind::oauth2, collection.auth.kind);
    EXPECT_EQ(OAuth2Grant::clientCredentials, collection.auth.oauth2->grant);
    EXPECT_EQ("https://id/token", collection.auth.oauth2->tokenURL);
    EXPECT_EQ("read write", collection.auth.oauth2->scope);
    const auto requests = itemTree::allRequests(collection.items);
    EXPECT_EQ(Auth::none(), requests.at(0).auth);
    EXPECT_EQ((Auth{.kind = AuthKind::apiKey, .apiKeyName = "api_key", .apiKeyIn = APIKeyLocation::query}), requests.at(1).auth);
    EXPECT_TRUE(requests.at(1).body.raw.starts_with("{\n  \"next\": {\n    \"next\": {")) << "a cycle ends, it does not loop";
}

TEST(OpenAPIImportTest, ExplainsWhatItCannotRead) {
    const std::string notOpenAPI = "Not an OpenAPI document: expected an \"openapi\" 3.x or \"swagger\" 2.0 version field.";
    const std::pair<const char*, std::string> cases[] = {
        {"{", "Not an OpenAPI document: the text is not JSON."},
        {R"({"openapi":"2.5"})", notOpenAPI},
        {R"({"info":{},"item":[]})", notOpenAPI},
        {"[]", notOpenAPI},
    };
    for (const auto& [text, message] : cases) EXPECT_EQ(message, thrownText([&] { OpenAPIImport::importDocument(text); })) << text;
}

}  // namespace
}  // namespace tessaline
