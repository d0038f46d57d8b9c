#include "http/RequestBuilder.hpp"

#include "TemporaryFolder.hpp"
#include "ThrownText.hpp"
#include "http/HTTPRunner.hpp"
#include "support/LocalHTTPServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace tessaline {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

KeyValue row(std::string key, std::string value, bool enabled = true) {
    return {.key = std::move(key), .value = std::move(value), .enabled = enabled};
}

VariableResolver variables(std::vector<KeyValue> rows) { return {.scopes = {std::move(rows)}}; }

APICollection collectionWithBase(std::string baseURL) { return {.name = "API", .baseURL = std::move(baseURL)}; }

std::string failure(const APIRequest& request) {
    return thrownText([&] { requestBuilder::resolve(request, std::nullopt, {}); });
}

TEST(RequestBuilderURLTest, JoinsRelativeURLsToTheBaseURLAndEscapesWhatCannotStandInAURL) {
    const struct {
        const char* base;
        const char* url;
        const char* expected;
    } cases[] = {
        {"https://h.test/api/", "/users", "https://h.test/api/users"},
        {"https://h.test/api/", "users", "https://h.test/api/users"},
        {"https://h.test/api/", "", "https://h.test/api"},
        {"https://h.test/api", "users?id=1", "https://h.test/api/users?id=1"},
        {" https://h.test/v1 \n", " /x\t", "https://h.test/v1/x"},
        {"https://h.test/api/", "other.test/x", "https://other.test/x"},  // a host name already
        {"https://h.test/api/", "http://abs.test/x", "http://abs.test/x"},
        {"", "h.test/x", "https://h.test/x"},
        {"{{host}}/v2/", "/x", "https://var.test/v2/x"},
        {"", "h.test/a b/ä{}?q=x y#f", "https://h.test/a%20b/%C3%A4%7B%7D?q=x%20y#f"},
        {"", "https://h.test/a%20b c?x=%zz", "https://h.test/a%20b%20c?x=%25zz"},
        {"", "http://münchen.test", "http://münchen.test/"},
    };
    for (const auto& [base, url, expected] : cases) {
        EXPECT_EQ(expected, requestBuilder::resolve({.url = url}, collectionWithBase(base), variables({row("host", "https://var.test")})).url)
            << base << " + " << url;
    }
}

TEST(RequestBuilderURLTest, TakesTheBaseURLFromTheVariablesFirst) {
    const auto collection = collectionWithBase("https://collection.test");
    const VariableResolver resolver{.scopes = {{row("baseUrl", "https://environment.test/")}, collection.effectiveVariables()}};
    EXPECT_EQ("https://environment.test/x", requestBuilder::resolve({.url = "/x"}, collection, resolver).url);
    EXPECT_EQ("https://collection.test/x", requestBuilder::resolve({.url = "/x"}, collection, {}).url);
    EXPECT_EQ("“https:///x” is not a valid URL.", failure({.url = "/x"}));  // no collection, no base
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

TEST(RequestBuilderBodyTest, EncodesRawBodiesWithTheirDefaultContentTypeWhereTheMethodTakesOne) {
    const struct {
        HTTPMethod method;
        BodyKind kind;
        std::vector<KeyValue> headers;
        std::optional<std::string> body;
        Pairs sent;
    } cases[] = {
        {HTTPMethod::post, BodyKind::json, {}, "<a>1</a>", {{"Content-Type", "application/json"}}},
        {HTTPMethod::put, BodyKind::text, {}, "<a>1</a>", {{"Content-Type", "text/plain"}}},
        {HTTPMethod::delete_, BodyKind::xml, {}, "<a>1</a>", {{"Content-Type", "application/xml"}}},
        {HTTPMethod::post, BodyKind::json, {row("content-TYPE", "application/vnd+json")}, "<a>1</a>",
         {{"content-TYPE", "application/vnd+json"}}},
        {HTTPMethod::get, BodyKind::json, {}, std::nullopt, {}},
        {HTTPMethod::head, BodyKind::json, {}, std::nullopt, {}},
        {HTTPMethod::post, BodyKind::none, {}, std::nullopt, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(toString(c.method)) + " " + std::string(toString(c.kind)));
        const auto resolved = requestBuilder::resolve(
            {.method = c.method, .url = "h.test", .headers = c.headers, .body = {.kind = c.kind, .raw = "<a>{{v}}</a>"}}, {},
            variables({row("v", "1")}));
        EXPECT_EQ((ResolvedRequest{.method = c.method, .url = "https://h.test/", .headers = c.sent, .body = c.body,
                                   .bodyKind = c.kind, .bodyText = c.body}),
                  resolved);
    }
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
    void SetUp() override { std::ofstream(folder / "photo.bin", std::ios::binary) << photo; }

    const std::string photo{"\x89PNG\0", 5};
    const TemporaryFolder folder;
};

TEST_F(RequestBuilderMultipartTest, WritesEachFieldAsAPartAndFilesWithTheirBytes) {
    const auto resolved = requestBuilder::resolve(
        {.method = HTTPMethod::post,
         .url = "h.test",
         .body = {.kind = BodyKind::multipart,
                  .form = {row("note", "hi {{v}}"), row("off", "x", false), row("photo", "@{{dir}}/photo.bin")}}},
        {}, variables({row("v", "there"), row("dir", folder.path.string())}));

    ASSERT_EQ(1u, resolved.headers.size());
    EXPECT_EQ("Content-Type", resolved.headers[0].first);
    EXPECT_THAT(resolved.headers[0].second, ::testing::MatchesRegex("multipart/form-data; boundary=----Tessaline[0-9A-F]{32}"));
    const auto boundary = resolved.headers[0].second.substr(30);
    EXPECT_EQ("--" + boundary + "\r\nContent-Disposition: form-data; name=\"note\"\r\n\r\nhi there\r\n" + "--" + boundary +
                  "\r\nContent-Disposition: form-data; name=\"photo\"; filename=\"photo.bin\"\r\n"
                  "Content-Type: application/octet-stream\r\n\r\n" +
                  photo + "\r\n--" + boundary + "--\r\n",
              resolved.body);
    EXPECT_EQ("note=hi there\nphoto=<file 5 bytes>\n", resolved.bodyText);

    const auto again = requestBuilder::resolve({.method = HTTPMethod::post, .url = "h.test", .body = {.kind = BodyKind::multipart}}, {}, {});
    EXPECT_NE(resolved.headers, again.headers);  // a fresh boundary each time

    const auto missing = (folder / "missing.bin").string();
    EXPECT_EQ("Could not read “" + missing + "”: No such file or directory",
              failure({.method = HTTPMethod::post, .url = "h.test", .body = {.kind = BodyKind::multipart, .form = {row("f", "@" + missing)}}}));
}

// What a server's own parser reads of a built request's query and parts.
TEST_F(RequestBuilderMultipartTest, QueryValuesAndPartsArriveIntact) {
    httplib::Request received;
    LocalHTTPServer server;
    server.http.Post("/form", [&received](const httplib::Request& request, httplib::Response& response) {
        received = request;
        response.status = 204;
    });
    server.start();
    const std::string awkward = "a&b=c+d #e%f";
    const APIRequest request{.method = HTTPMethod::post,
                             .url = server.url("/form?own=1"),
                             .query = {row(awkward, awkward), row("k", "{{v}}")},
                             .body = {.kind = BodyKind::multipart,
                                      .form = {row("note", "line 1\r\nline 2"), row("photo", "@" + (folder / "photo.bin").string())}}};
    const auto response = HTTPRunner().send(requestBuilder::resolve(request, {}, variables({row("v", awkward)})), request);
    ASSERT_EQ(204, response.status) << response.error.value_or("");

    EXPECT_EQ(3u, received.params.size());
    EXPECT_EQ("1", received.get_param_value("own"));
    EXPECT_EQ(awkward, received.get_param_value(awkward.c_str()));
    EXPECT_EQ(awkward, received.get_param_value("k"));
    const auto note = received.get_file_value("note");
    EXPECT_EQ("line 1\r\nline 2", note.content);
    EXPECT_EQ("", note.filename);
    const auto file = received.get_file_value("photo");
    EXPECT_EQ("photo.bin", file.filename);
    EXPECT_EQ("application/octet-stream", file.content_type);
    EXPECT_EQ(photo, file.content);
}

}  // namespace
}  // namespace tessaline
