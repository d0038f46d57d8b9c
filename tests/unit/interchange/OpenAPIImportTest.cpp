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

TEST(OpenAPIImportTest, ReadsEveryExampleWithTagsParametersBodiesAndPathVariables) {
    for (const auto& entry : std::filesystem::directory_iterator(TESSALINE_TEST_DATA "/openapi")) {
        if (entry.path().extension() != ".json") continue;
        SCOPED_TRACE(entry.path().filename().string());
        for (const auto& request : itemTree::allRequests(importExample(entry.path().filename()).items)) {
            EXPECT_TRUE(request.url.starts_with("/")) << request.url;
            EXPECT_FALSE(request.name.empty());
        }
    }
    for (const char* file : {"v3.0-petstore.json", "v2.0-petstore.json"}) {
        SCOPED_TRACE(file);
        const auto collection = importExample(file);
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
              itemTree::allRequests(importExample("v3.0-petstore.json").items).at(1).body);
    EXPECT_EQ((RequestBody{.kind = BodyKind::json, .raw = "{\n  \"name\": \"string\",\n  \"tag\": \"string\"\n}"}),
              itemTree::allRequests(importExample("v2.0-petstore-expanded.json").items).at(1).body);

    const auto uspto = importExample("v3.0-uspto.json");
    EXPECT_EQ("https://developer.uspto.gov/ds-api", uspto.baseURL);  // the server's variables at their defaults
    const auto search = itemTree::allRequests(uspto.items).back();
    EXPECT_EQ("/{{dataset}}/{{version}}/records", search.url);
    EXPECT_EQ(BodyKind::formURLEncoded, search.body.kind);
    EXPECT_EQ("criteria=*:*", search.body.form.at(0).key + "=" + search.body.form.at(0).value);
}

TEST(OpenAPIImportTest, ReadsSecurityOfTheDocumentAndOfEachOperation) {
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
    for (const auto& c : cases) EXPECT_EQ(c.second, thrownText([&] { OpenAPIImport::importDocument(c.first); })) << c.first;
}

}  // namespace
}  // namespace tessaline
