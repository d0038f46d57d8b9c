#include "http/RequestBuilder.hpp"

#include "http/HTTPRunner.hpp"
#include "pipeline/RequestBuildError.hpp"
#include "support/FileError.hpp"
#include "support/LocalHTTPServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace tessaline {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;
using ::testing::MatchesRegex;

KeyValue row(std::string key, std::string value, bool enabled = true) {
    return {.key = std::move(key), .value = std::move(value), .enabled = enabled};
}

VariableResolver variables(std::vector<KeyValue> rows) { return {.scopes = {std::move(rows)}}; }

APICollection collectionWithBase(std::string baseURL) { return {.name = "API", .baseURL = std::move(baseURL)}; }

// What resolve() throws, as its text.
std::string failure(const APIRequest& request, const VariableResolver& resolver = {},
                    const std::optional<APICollection>& collection = std::nullopt) {
    try {
        requestBuilder::resolve(request, collection, resolver);
    } catch (const Error& error) {
        return error.what();
    }
    return "(no failure)";
}

TEST(RequestBuilderURLTest, JoinsRelativeURLsToTheBaseURL) {
    struct Case {
        const char* base;
        const char* url;
        const char* expected;
    };
    for (const auto& c : std::initializer_list<Case>{
             {"https://h.test/api/", "/users", "https://h.test/api/users"},
             {"https://h.test/api/", "users", "https://h.test/api/users"},
             {"https://h.test/api/", "", "https://h.test/api"},
             {"https://h.test/api", "users?id=1", "https://h.test/api/users?id=1"},
             {" https://h.test/v1 \n", " /x\t", "https://h.test/v1/x"},
             {"https://h.test/api/", "other.test/x", "https://other.test/x"},  // a host name already
             {"https://h.test/api/", "http://abs.test/x", "http://abs.test/x"},
             {"", "h.test/x", "https://h.test/x"},
             {"{{host}}/v2/", "/x", "https://var.test/v2/x"},
         }) {
        const auto resolver = variables({row("host", "https://var.test")});
        EXPECT_EQ(c.expected, requestBuilder::resolve({.url = c.url}, collectionWithBase(c.base), resolver).url)
            << c.base << " + " << c.url;
    }
}

TEST(RequestBuilderURLTest, TakesTheBaseURLFromTheVariablesFirst) {
    const auto collection = collectionWithBase("https://collection.test");
    const VariableResolver resolver{.scopes = {{row("baseUrl", "https://environment.test/")}, collection.effectiveVariables()}};
    EXPECT_EQ("https://environment.test/x", requestBuilder::resolve({.url = "/x"}, collection, resolver).url);
    EXPECT_EQ("https://collection.test/x", requestBuilder::resolve({.url = "/x"}, collection, {}).url);
    EXPECT_EQ("“https:///x” is not a valid URL.", failure({.url = "/x"}));  // no collection, no base
}

TEST(RequestBuilderURLTest, EscapesWhatCannotStandInAURL) {
    const auto resolve = [](std::string url) { return requestBuilder::resolve({.url = std::move(url)}, {}, {}).url; };
    EXPECT_EQ("https://h.test/a%20b/%C3%A4%7B%7D?q=x%20y#f", resolve("h.test/a b/ä{}?q=x y#f"));
    EXPECT_EQ("https://h.test/a%20b%20c?x=%25zz", resolve("https://h.test/a%20b c?x=%zz"));
    EXPECT_EQ("http://münchen.test/", resolve("http://münchen.test"));
}

TEST(RequestBuilderURLTest, AppendsQueryItemsAfterTheURLsOwnAndEscapesTheirStructure) {
    const APIRequest request{.url = "https://h.test/p?z=%3D0#top",
                             .query = {row("a", "1&2"), row("b c", "x=y+z#%"), row("off", "1", false), row("", "lost"),
                                       row("{{name}}", "{{value}}")}};
    const auto resolver = variables({row("name", "n;m"), row("value", "~v/?:@")});
    EXPECT_EQ("https://h.test/p?z=%3D0&a=1%262&b%20c=x%3Dy%2Bz%23%25&n%3Bm=~v/?:@#top",
              requestBuilder::resolve(request, {}, resolver).url);
    const auto resolve = [&](std::string url) {
        return requestBuilder::resolve({.url = std::move(url), .query = {row("a", "1")}}, {}, {}).url;
    };
    EXPECT_EQ("https://h.test/?a=1", resolve("h.test"));
    EXPECT_EQ("https://h.test/x?a=1", resolve("h.test/x?"));
    EXPECT_EQ("https://h.test/x?a=1#f?g", resolve("h.test/x#f?g"));
}

TEST(RequestBuilderErrorTest, ReportsFailuresInOrder) {
    EXPECT_EQ("The request has no URL.", failure({.url = " \n"}));
    EXPECT_EQ("The request has no URL.", failure({.url = "", .headers = {row("X", "{{undefined}}")}}));
    EXPECT_EQ("“https://h.test:port/” is not a valid URL.", failure({.url = "h.test:port/"}));
    EXPECT_EQ("Undefined variables: missing", failure({.url = "{{missing}}/x"}));
    EXPECT_EQ("Undefined variables: a, b, c, d",
              failure({.url = "https://h.test:port/{{b}}/{{ a }}/{{b}}",
                       .query = {row("q", "{{d}}"), row("off", "{{off}}", false)},
                       .headers = {row("{{key}}", "{{c}}")},
                       .body = {.kind = BodyKind::json, .raw = "{{body}}"},
                       .auth = {.kind = AuthKind::bearer, .token = "{{token}}"}}));
}

TEST(RequestBuilderErrorTest, SendsUndefinedPlaceholdersOutsideURLHeadersAndQueryAsWritten) {
    const auto resolved = requestBuilder::resolve({.method = HTTPMethod::post,
                                                   .url = "https://h.test/{{$unknown}}",
                                                   .headers = {row("{{key}}", "v")},
                                                   .body = {.kind = BodyKind::text, .raw = "{{ body }}"},
                                                   .auth = {.kind = AuthKind::bearer, .token = "{{token}}"}},
                                                  {}, {});
    EXPECT_EQ("https://h.test/%7B%7B$unknown%7D%7D", resolved.url);
    EXPECT_EQ((Pairs{{"{{key}}", "v"}, {"Authorization", "Bearer {{token}}"}, {"Content-Type", "text/plain"}}),
              resolved.headers);
    EXPECT_EQ("{{body}}", resolved.body);
}

TEST(RequestBuilderAuthTest, AppliesTheEffectiveAuth) {
    const auto resolver = variables({row("secret", "s3"), row("user", "user")});
    struct Case {
        Auth auth;
        Pairs headers;
        const char* url;
    };
    const Auth bearer{.kind = AuthKind::bearer, .token = "{{secret}}"};
    for (const auto& c : std::initializer_list<Case>{
             {Auth::none(), {}, "https://h.test/"},
             {bearer, {{"Authorization", "Bearer s3"}}, "https://h.test/"},
             {{.kind = AuthKind::basic, .username = "{{user}}", .password = "pa:ss"},
              {{"Authorization", "Basic dXNlcjpwYTpzcw=="}},
              "https://h.test/"},
             {{.kind = AuthKind::apiKey, .apiKeyName = "X-Key", .apiKeyValue = "{{secret}}"}, {{"X-Key", "s3"}}, "https://h.test/"},
             {{.kind = AuthKind::apiKey, .apiKeyName = "key", .apiKeyValue = "a b", .apiKeyIn = APIKeyLocation::query},
              {},
              "https://h.test/?key=a%20b"},
             {{.kind = AuthKind::inherit}, {{"Authorization", "Bearer collection"}}, "https://h.test/"},
         }) {
        const APICollection collection{.auth = {.kind = AuthKind::bearer, .token = "collection"}};
        const auto resolved =
            requestBuilder::resolve({.url = "https://h.test", .headers = {row("A", "1")}, .auth = c.auth}, collection, resolver);
        auto expected = c.headers;
        expected.insert(expected.begin(), {"A", "1"});
        EXPECT_EQ(expected, resolved.headers) << toString(c.auth.kind);
        EXPECT_EQ(c.url, resolved.url) << toString(c.auth.kind);
    }
    EXPECT_EQ(Auth::none(), requestBuilder::effectiveAuth({.auth = {.kind = AuthKind::inherit}}, std::nullopt));
    EXPECT_EQ(bearer, requestBuilder::effectiveAuth({.auth = bearer}, APICollection{}));
}

TEST(RequestBuilderAuthTest, PlacesACachedOAuth2TokenAsTheSettingsSay) {
    const auto resolver = variables({row("client", "c-1")});
    std::vector<std::string> asked;
    const requestBuilder::OAuth2TokenLookup tokens = [&](const OAuth2Config& settings, const VariableResolver& given) {
        asked.push_back(given.resolve(settings.clientID));
        return settings.scope == "none" ? std::nullopt : std::optional<std::string>("tok");
    };
    const auto resolve = [&](std::optional<OAuth2Config> settings, const requestBuilder::OAuth2TokenLookup& lookup) {
        const auto resolved = requestBuilder::resolve(
            {.url = "https://h.test/", .auth = {.kind = AuthKind::oauth2, .oauth2 = std::move(settings)}}, {}, resolver, lookup);
        return Pairs{{resolved.url, resolved.headers.empty() ? "" : resolved.headers.back().second}};
    };
    EXPECT_EQ((Pairs{{"https://h.test/", "Bearer tok"}}), resolve(OAuth2Config{.clientID = "{{client}}"}, tokens));
    EXPECT_EQ((Pairs{{"https://h.test/", "Bearer tok"}}), resolve(std::nullopt, tokens));
    EXPECT_EQ((Pairs{{"https://h.test/", "Token tok"}}), resolve(OAuth2Config{.headerPrefix = "Token"}, tokens));
    EXPECT_EQ((Pairs{{"https://h.test/", "tok"}}), resolve(OAuth2Config{.headerPrefix = ""}, tokens));
    EXPECT_EQ((Pairs{{"https://h.test/?access_token=tok", ""}}),
              resolve(OAuth2Config{.placement = OAuth2TokenPlacement::query}, tokens));
    EXPECT_EQ((Pairs{{"https://h.test/?t=tok", ""}}),
              resolve(OAuth2Config{.placement = OAuth2TokenPlacement::query, .queryParamName = "t"}, tokens));
    EXPECT_EQ((Pairs{{"https://h.test/", ""}}), resolve(OAuth2Config{.scope = "none"}, tokens));
    EXPECT_EQ((Pairs{{"https://h.test/", ""}}), resolve(OAuth2Config{}, {}));
    EXPECT_EQ("c-1", asked.front());
}

TEST(RequestBuilderBodyTest, EncodesRawBodiesWithTheirDefaultContentType) {
    const auto resolver = variables({row("v", "1")});
    struct Case {
        HTTPMethod method;
        BodyKind kind;
        Pairs headers;
    };
    for (const auto& c : std::initializer_list<Case>{
             {HTTPMethod::post, BodyKind::json, {{"Content-Type", "application/json"}}},
             {HTTPMethod::put, BodyKind::text, {{"Content-Type", "text/plain"}}},
             {HTTPMethod::delete_, BodyKind::xml, {{"Content-Type", "application/xml"}}},
             {HTTPMethod::options, BodyKind::json, {{"Content-Type", "application/json"}}},
         }) {
        const auto resolved = requestBuilder::resolve(
            {.method = c.method, .url = "h.test", .body = {.kind = c.kind, .raw = "<a>{{v}}</a>"}}, {}, resolver);
        EXPECT_EQ("<a>1</a>", resolved.body);
        EXPECT_EQ("<a>1</a>", resolved.bodyText);
        EXPECT_EQ(c.kind, resolved.bodyKind);
        EXPECT_EQ(c.headers, resolved.headers);
    }
}

TEST(RequestBuilderBodyTest, SendsNoBodyWhereTheMethodOrKindHasNone) {
    for (const auto method : {HTTPMethod::get, HTTPMethod::head}) {
        const auto resolved =
            requestBuilder::resolve({.method = method, .url = "h.test", .body = {.kind = BodyKind::json, .raw = "{}"}}, {}, {});
        EXPECT_EQ(std::nullopt, resolved.body);
        EXPECT_EQ(std::nullopt, resolved.bodyText);
        EXPECT_EQ(BodyKind::json, resolved.bodyKind);
        EXPECT_TRUE(resolved.headers.empty());
    }
    const auto none = requestBuilder::resolve({.method = HTTPMethod::post, .url = "h.test", .body = {.raw = "x"}}, {}, {});
    EXPECT_EQ(std::nullopt, none.body);
    EXPECT_TRUE(none.headers.empty());
}

TEST(RequestBuilderBodyTest, KeepsTheUsersContentTypeInAnyCase) {
    const auto resolved = requestBuilder::resolve({.method = HTTPMethod::post,
                                                   .url = "h.test",
                                                   .headers = {row("content-TYPE", "application/vnd+json")},
                                                   .body = {.kind = BodyKind::json, .raw = "{}"}},
                                                  {}, {});
    EXPECT_EQ((Pairs{{"content-TYPE", "application/vnd+json"}}), resolved.headers);
}

TEST(RequestBuilderBodyTest, EncodesFormFields) {
    const auto resolved = requestBuilder::resolve(
        {.method = HTTPMethod::post,
         .url = "h.test",
         .body = {.kind = BodyKind::formURLEncoded,
                  .form = {row("a b", "x&y"), row("off", "1", false), row("", "no key"), row("-._*~", "é+%20{{v}}")}}},
        {}, variables({row("v", "=")}));
    EXPECT_EQ("a+b=x%26y&-._*%7E=%C3%A9%2B%2520%3D", resolved.body);
    EXPECT_EQ(resolved.body, resolved.bodyText);
    EXPECT_EQ((Pairs{{"Content-Type", "application/x-www-form-urlencoded"}}), resolved.headers);
}

class RequestBuilderMultipartTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "photo.bin", std::ios::binary) << std::string("\x89PNG\0", 5);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    const std::filesystem::path folder = std::filesystem::temp_directory_path() / ("tessaline-multipart-" + Uuid::random().text());
};

TEST_F(RequestBuilderMultipartTest, WritesEachFieldAsAPartAndFilesWithTheirBytes) {
    const auto resolved = requestBuilder::resolve(
        {.method = HTTPMethod::post,
         .url = "h.test",
         .body = {.kind = BodyKind::multipart,
                  .form = {row("note", "hi {{v}}"), row("off", "x", false), row("photo", "@{{dir}}/photo.bin")}}},
        {}, variables({row("v", "there"), row("dir", folder.string())}));

    ASSERT_EQ(1u, resolved.headers.size());
    EXPECT_EQ("Content-Type", resolved.headers[0].first);
    EXPECT_THAT(resolved.headers[0].second, MatchesRegex("multipart/form-data; boundary=----Tessaline[0-9A-F]{32}"));
    const auto boundary = resolved.headers[0].second.substr(30);
    EXPECT_EQ("--" + boundary + "\r\nContent-Disposition: form-data; name=\"note\"\r\n\r\nhi there\r\n" +
                  "--" + boundary +
                  "\r\nContent-Disposition: form-data; name=\"photo\"; filename=\"photo.bin\"\r\n"
                  "Content-Type: application/octet-stream\r\n\r\n" +
                  std::string("\x89PNG\0", 5) + "\r\n--" + boundary + "--\r\n",
              resolved.body);
    EXPECT_EQ("note=hi there\nphoto=<file 5 bytes>\n", resolved.bodyText);

    const auto again = requestBuilder::resolve({.method = HTTPMethod::post, .url = "h.test", .body = {.kind = BodyKind::multipart}}, {}, {});
    EXPECT_NE(resolved.headers, again.headers);  // a fresh boundary each time
}

TEST_F(RequestBuilderMultipartTest, FailsWhenAFileCannotBeRead) {
    const auto missing = (folder / "missing.bin").string();
    EXPECT_EQ("Could not read “" + missing + "”: No such file or directory",
              failure({.method = HTTPMethod::post,
                       .url = "h.test",
                       .body = {.kind = BodyKind::multipart, .form = {row("f", "@" + missing)}}}));
}

// Built requests as a server reads them.
class RequestBuilderServerTest : public RequestBuilderMultipartTest {
protected:
    void SetUp() override {
        RequestBuilderMultipartTest::SetUp();
        server.http.Post("/form", [this](const httplib::Request& request, httplib::Response& response) {
            received = request;
            response.status = 204;
        });
        server.start();
    }

    void send(const APIRequest& request, const VariableResolver& resolver = {}) {
        const auto response = HTTPRunner().send(requestBuilder::resolve(request, {}, resolver), request);
        ASSERT_EQ(204, response.status) << response.error.value_or("");
    }

    LocalHTTPServer server;
    httplib::Request received;
};

TEST_F(RequestBuilderServerTest, QueryValuesArriveIntact) {
    const std::string awkward = "a&b=c+d #e%f";
    send({.method = HTTPMethod::post, .url = server.url("/form?own=1"), .query = {row(awkward, awkward), row("k", "{{v}}")}},
         variables({row("v", awkward)}));
    EXPECT_EQ(3u, received.params.size());
    EXPECT_EQ("1", received.get_param_value("own"));
    EXPECT_EQ(awkward, received.get_param_value(awkward.c_str()));
    EXPECT_EQ(awkward, received.get_param_value("k"));
}

TEST_F(RequestBuilderServerTest, FormFieldsArriveIntact) {
    send({.method = HTTPMethod::post,
          .url = server.url("/form"),
          .body = {.kind = BodyKind::formURLEncoded, .form = {row("a b", "x&y"), row("sum", "1+1=2 %")}}});
    EXPECT_EQ("application/x-www-form-urlencoded", received.get_header_value("Content-Type"));
    EXPECT_EQ("x&y", received.get_param_value("a b"));
    EXPECT_EQ("1+1=2 %", received.get_param_value("sum"));
}

TEST_F(RequestBuilderServerTest, MultipartPartsArriveWithTheirFiles) {
    send({.method = HTTPMethod::post,
          .url = server.url("/form"),
          .body = {.kind = BodyKind::multipart,
                   .form = {row("note", "line 1\r\nline 2"), row("photo", "@" + (folder / "photo.bin").string())}}});
    ASSERT_TRUE(received.has_file("note"));
    EXPECT_EQ("line 1\r\nline 2", received.get_file_value("note").content);
    EXPECT_EQ("", received.get_file_value("note").filename);
    const auto photo = received.get_file_value("photo");
    EXPECT_EQ("photo.bin", photo.filename);
    EXPECT_EQ("application/octet-stream", photo.content_type);
    EXPECT_EQ(std::string("\x89PNG\0", 5), photo.content);
}

}  // namespace
}  // namespace tessaline
