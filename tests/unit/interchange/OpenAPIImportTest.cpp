#include "interchange/OpenAPIImport.hpp"

#include "interchange/ImportError.hpp"
#include "model/ItemTree.hpp"
#include "support/AtomicFile.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

APICollection importExample(const std::string& file) {
    return OpenAPIImport::importDocument(atomicFile::read(std::string(TESSALINE_TEST_DATA) + "/openapi/" + file));
}

struct DocumentCase {
    const char* file;
    const char* name;
    std::size_t requests;
    std::size_t folders;
    const char* baseURL;
};

class OpenAPIDocuments : public ::testing::TestWithParam<DocumentCase> {};

TEST_P(OpenAPIDocuments, ImportIntoSensibleCollections) {
    const auto& document = GetParam();
    const auto collection = importExample(document.file);
    EXPECT_EQ(document.name, collection.name);
    const auto requests = itemTree::allRequests(collection.items);
    EXPECT_EQ(document.requests, requests.size());
    EXPECT_EQ(document.folders, std::count_if(collection.items.begin(), collection.items.end(), [](const CollectionItem& item) { return item.folder(); }));
    EXPECT_EQ(document.baseURL, collection.baseURL);
    for (const auto& request : requests) {
        EXPECT_TRUE(request.url.starts_with("/")) << request.url;
        EXPECT_FALSE(request.name.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, OpenAPIDocuments,
    ::testing::Values(DocumentCase{"v2.0-api-with-examples.json", "Simple API overview", 2, 0, ""},
                      DocumentCase{"v2.0-petstore-expanded.json", "Swagger Petstore", 4, 0, "http://petstore.swagger.io/api"},
                      DocumentCase{"v2.0-petstore-minimal.json", "Swagger Petstore", 1, 0, "http://petstore.swagger.io/api"},
                      DocumentCase{"v2.0-petstore-with-external-docs.json", "Swagger Petstore", 4, 0, "http://petstore.swagger.io/api"},
                      DocumentCase{"v2.0-petstore.json", "Swagger Petstore", 3, 1, "http://petstore.swagger.io/v1"},
                      DocumentCase{"v2.0-uber.json", "Uber API", 5, 3, "https://api.uber.com/v1"},
                      DocumentCase{"v3.0-api-with-examples.json", "Simple API overview", 2, 0, ""},
                      DocumentCase{"v3.0-callback-example.json", "Callback Example", 1, 0, ""},
                      DocumentCase{"v3.0-link-example.json", "Link Example", 6, 0, ""},
                      DocumentCase{"v3.0-petstore-expanded.json", "Swagger Petstore", 4, 0, "https://petstore.swagger.io/v2"},
                      DocumentCase{"v3.0-petstore.json", "Swagger Petstore", 3, 1, "http://petstore.swagger.io/v1"},
                      DocumentCase{"v3.0-uspto.json", "USPTO Data Set API", 3, 2, "https://developer.uspto.gov/ds-api"},
                      DocumentCase{"v3.1-non-oauth-scopes.json", "Non-oAuth Scopes example", 1, 0, ""},
                      DocumentCase{"v3.1-webhook-example.json", "Webhook Example", 0, 0, ""}));

TEST(OpenAPIImportTest, ReadsParametersBodiesAndVariables) {
    for (const char* file : {"v3.0-petstore.json", "v2.0-petstore.json"}) {
        SCOPED_TRACE(file);
        const auto collection = importExample(file);
        const auto* pets = collection.items.at(0).folder();
        ASSERT_TRUE(pets);
        EXPECT_EQ("pets", pets->name);
        const auto list = *pets->items.at(0).request();
        EXPECT_EQ("List all pets", list.name);
        EXPECT_EQ(HTTPMethod::get, list.method);
        EXPECT_EQ("/pets", list.url);
        ASSERT_EQ(1u, list.query.size());
        EXPECT_EQ("limit", list.query[0].key);
        EXPECT_FALSE(list.query[0].enabled);

        EXPECT_EQ(HTTPMethod::post, pets->items.at(1).request()->method);

        const auto show = *pets->items.at(2).request();
        EXPECT_EQ("/pets/{{petId}}", show.url);
        ASSERT_EQ(1u, collection.variables.size());
        EXPECT_EQ("petId", collection.variables[0].key);
    }
}

TEST(OpenAPIImportTest, MakesJSONBodiesFromSchemas) {
    const auto create = itemTree::allRequests(importExample("v3.0-petstore.json").items).at(1);
    EXPECT_EQ(BodyKind::json, create.body.kind);
    EXPECT_EQ("{\n  \"id\": 0,\n  \"name\": \"string\",\n  \"tag\": \"string\"\n}", create.body.raw);

    const auto add = itemTree::allRequests(importExample("v2.0-petstore-expanded.json").items).at(1);
    EXPECT_EQ(HTTPMethod::post, add.method);
    EXPECT_EQ(BodyKind::json, add.body.kind);
    EXPECT_EQ("{\n  \"name\": \"string\",\n  \"tag\": \"string\"\n}", add.body.raw);
}

TEST(OpenAPIImportTest, ReadsSecurityAndServerVariables) {
    const auto scopes = itemTree::allRequests(importExample("v3.1-non-oauth-scopes.json").items).at(0);
    EXPECT_EQ(AuthKind::bearer, scopes.auth.kind);
    EXPECT_EQ("GET /users", scopes.name);

    const auto uspto = importExample("v3.0-uspto.json");
    const auto search = itemTree::allRequests(uspto.items).back();
    EXPECT_EQ("/{{dataset}}/{{version}}/records", search.url);
    EXPECT_EQ(BodyKind::formURLEncoded, search.body.kind);
    EXPECT_EQ("criteria", search.body.form.at(0).key);
    EXPECT_EQ("*:*", search.body.form.at(0).value);

    const auto document = R"({"openapi":"3.0.0","info":{"title":"T"},"security":[{"o":["read","write"]}],
        "components":{"securitySchemes":{"o":{"type":"oauth2","flows":{"clientCredentials":{"tokenUrl":"https://id/token","scopes":{}}}},
                                         "k":{"type":"apiKey","in":"query","name":"api_key"}},
                      "schemas":{"Node":{"type":"object","properties":{"next":{"$ref":"#/components/schemas/Node"}}}}},
        "paths":{"/a":{"post":{"security":[{"k":[]}],"requestBody":{"content":{"application/json":{"schema":{"$ref":"#/components/schemas/Node"}}}}},
                       "get":{"security":[]}}}})";
    const auto collection = OpenAPIImport::importDocument(document);
    ASSERT_EQ(AuthKind::oauth2, collection.auth.kind);
    EXPECT_EQ(OAuth2Grant::clientCredentials, collection.auth.oauth2->grant);
    EXPECT_EQ("https://id/token", collection.auth.oauth2->tokenURL);
    EXPECT_EQ("read write", collection.auth.oauth2->scope);
    const auto requests = itemTree::allRequests(collection.items);
    EXPECT_EQ(AuthKind::none, requests.at(0).auth.kind);
    EXPECT_EQ(AuthKind::apiKey, requests.at(1).auth.kind);
    EXPECT_EQ("api_key", requests.at(1).auth.apiKeyName);
    EXPECT_EQ(APIKeyLocation::query, requests.at(1).auth.apiKeyIn);
    EXPECT_TRUE(requests.at(1).body.raw.starts_with("{\n  \"next\": {\n    \"next\": {")) << "a cycle ends, it does not loop";
}

TEST(OpenAPIImportTest, ExplainsWhatItCannotRead) {
    const std::pair<const char*, const char*> cases[] = {
        {"{", "Not an OpenAPI document: the text is not JSON."},
        {R"({"openapi":"2.5"})", "Not an OpenAPI document: expected an \"openapi\" 3.x or \"swagger\" 2.0 version field."},
        {R"({"info":{},"item":[]})", "Not an OpenAPI document: expected an \"openapi\" 3.x or \"swagger\" 2.0 version field."},
        {"[]", "Not an OpenAPI document: expected an \"openapi\" 3.x or \"swagger\" 2.0 version field."},
    };
    for (const auto& [text, message] : cases) {
        try {
            OpenAPIImport::importDocument(text);
            ADD_FAILURE() << text;
        } catch (const ImportError& error) {
            EXPECT_STREQ(message, error.what()) << text;
        }
    }
}

}  // namespace
}  // namespace tessaline
