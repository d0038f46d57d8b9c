#include "core/http/HTTPRunner.hpp"
#include "core/http/RequestBuilder.hpp"

#include "TemporaryFolder.hpp"
#include "ThrownText.hpp"
#include "core/support/CannedHTTPServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <tuple>

namespace tessaline {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

KeyValue row(std::string key, std::string value, bool enabled = true) {
    return {.key = std::move(key), .value = std::move(value), .enabled = enabled};
}

// The rows without their ids, which are new in every record.
Pairs pairs(const std::vector<KeyValue>& rows) {
    Pairs result;
    for (const auto& row : rows) result.emplace_back(row.key, row.value);
    return result;
}

VariableResolver variables(std::vector<KeyValue> rows) { return {.scopes = {std::move(rows)}}; }

ResolvedRequest resolve(const APIRequest& request, const VariableResolver& resolver = {}) {
    return requestBuilder::resolve(request, std::nullopt, resolver);
}

std::string failure(const APIRequest& request) {
    return thrownText([&] { resolve(request); });
}

TEST(RequestBuilderURLTest, JoinsRelativeURLsToTheBaseURLAppendsTheQueryAndEscapesWhatCannotStandInAURL) {
    const std::tuple<const char*, const char*, const char*> cases[] = {  // the base URL, the URL and the joined one
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
        const APICollection collection{.name = "API", .baseURL = base};
        EXPECT_EQ(expected, requestBuilder::resolve({.url = url}, collection, variables({row("host", "https://var.test")})).url) << base << url;
    }
    const APICollection collection{.name = "API", .baseURL = "https://collection.test"};
    const VariableResolver environment{.scopes = {{row("baseUrl", "https://environment.test/")}, collection.effectiveVariables()}};
    EXPECT_EQ("https://environment.test/x", requestBuilder::resolve({.url = "/x"}, collection, environment).url);

    // Query items go after the URL's own, their structure escaped.
    EXPECT_EQ("https://h.test/p?z=%3D0&a=1%262&b%20c=x%3Dy%2Bz%23%25&n%3Bm=~v/?:@#top",
              resolve({.url = "https://h.test/p?z=%3D0#top",
                       .query = {row("a", "1&2"), row("b c", "x=y+z#%"), row("off", "1", false), row("", "lost"), row("{{name}}", "{{value}}")}},
                      variables({row("name", "n;m"), row("value", "~v/?:@")})).url);
    for (const auto& [url, expected] : std::initializer_list<std::pair<std::string, std::string>>{
             {"h.test", "https://h.test/?a=1"}, {"h.test/x?", "https://h.test/x?a=1"}, {"h.test/x#f?g", "https://h.test/x?a=1#f?g"}}) {
        EXPECT_EQ(expected, resolve({.url = url, .query = {row("a", "1")}}).url);
    }
}

TEST(RequestBuilderErrorTest, ReportsFailuresInOrder) {
    EXPECT_EQ("The request has no URL.", failure({.url = " \n"}));
    EXPECT_EQ("The request has no URL.", failure({.url = "", .headers = {row("X", "{{undefined}}")}}));
    EXPECT_EQ("“https:///x” is not a valid URL.", failure({.url = "/x"}));  // no collection, no base
    EXPECT_EQ("“https://h.test:port/” is not a valid URL.", failure({.url = "h.test:port/"}));
    EXPECT_EQ("Undefined variables: a, b, c, d",
              failure({.url = "https://h.test:port/{{b}}/{{ a }}/{{b}}", .query = {row("q", "{{d}}"), row("off", "{{off}}", false)},
                       .headers = {row("{{key}}", "{{c}}")}, .body = {.kind = BodyKind::json, .raw = "{{body}}"},
                       .auth = {.kind = AuthKind::bearer, .token = "{{token}}"}}));
    // Outside the URL, header values and query, an undefined placeholder is sent as written.
    EXPECT_EQ((ResolvedRequest{.method = HTTPMethod::post, .url = "https://h.test/%7B%7B$unknown%7D%7D",
                               .headers = {{"{{key}}", "v"}, {"Authorization", "Bearer {{token}}"}, {"Content-Type", "text/plain"}},
                               .body = "{{body}}", .bodyKind = BodyKind::text, .bodyText = "{{body}}"}),
              resolve({.method = HTTPMethod::post, .url = "https://h.test/{{$unknown}}", .headers = {row("{{key}}", "v")},
                       .body = {.kind = BodyKind::text, .raw = "{{ body }}"}, .auth = {.kind = AuthKind::bearer, .token = "{{token}}"}}));
}

TEST(RequestBuilderAuthTest, AppliesTheEffectiveAuthAndPlacesACachedOAuth2Token) {
    // A token is cached for any OAuth 2 settings but those whose client resolves to "none".
    const requestBuilder::OAuth2TokenLookup tokens = [](const OAuth2Config& settings, const VariableResolver& resolver) {
        return resolver.resolve(settings.clientID) == "none" ? std::nullopt : std::optional<std::string>("tok");
    };
    const auto oauth2 = [](std::optional<OAuth2Config> settings) { return Auth{.kind = AuthKind::oauth2, .oauth2 = std::move(settings)}; };
    const auto query = OAuth2TokenPlacement::query;
    const std::tuple<Auth, Pairs, const char*> cases[] = {  // the auth, the headers it adds and the URL
        {Auth::none(), {}, "https://h.test/"},
        {{.kind = AuthKind::bearer, .token = "{{secret}}"}, {{"Authorization", "Bearer s3"}}, "https://h.test/"},
        {{.kind = AuthKind::basic, .username = "{{user}}", .password = "pa:ss"}, {{"Authorization", "Basic dXNlcjpwYTpzcw=="}}, "https://h.test/"},
        {{.kind = AuthKind::apiKey, .apiKeyName = "X-Key", .apiKeyValue = "{{secret}}"}, {{"X-Key", "s3"}}, "https://h.test/"},
        {{.kind = AuthKind::apiKey, .apiKeyName = "key", .apiKeyValue = "a b", .apiKeyIn = APIKeyLocation::query}, {}, "https://h.test/?key=a%20b"},
        {oauth2(OAuth2Config{{}, {.headerPrefix = "Token"}}), {{"Authorization", "Token tok"}}, "https://h.test/"},
        {oauth2(OAuth2Config{{}, {.headerPrefix = ""}}), {{"Authorization", "tok"}}, "https://h.test/"},
        {oauth2(OAuth2Config{{}, {.placement = query}}), {}, "https://h.test/?access_token=tok"},
        {oauth2(OAuth2Config{{}, {.placement = query, .queryParamName = "t"}}), {}, "https://h.test/?t=tok"},
        {oauth2(OAuth2Config{{.clientID = "{{client}}"}, {}}), {}, "https://h.test/"},  // nothing cached
    };
    const APICollection collection{.auth = {.kind = AuthKind::bearer, .token = "collection"}};  // inherited end to end
    for (const auto& [auth, added, url] : cases) {
        const auto resolved = requestBuilder::resolve({.url = "https://h.test", .headers = {row("A", "1")}, .auth = auth}, collection,
                                                      variables({row("secret", "s3"), row("user", "user"), row("client", "none")}), tokens);
        auto headers = added;
        headers.insert(headers.begin(), {"A", "1"});
        EXPECT_EQ(headers, resolved.headers) << toString(auth.kind) << " " << url;
        EXPECT_EQ(url, resolved.url) << toString(auth.kind);
    }
    EXPECT_TRUE(resolve({.url = "h.test", .auth = oauth2(OAuth2Config{})}).headers.empty());  // no lookup, no token
    EXPECT_EQ(Auth::none(), requestBuilder::effectiveAuth({.auth = {.kind = AuthKind::inherit}}, std::nullopt));
}

TEST(RequestBuilderBodyTest, EncodesBodiesWithTheirDefaultContentTypeWhereTheMethodTakesOneAndFormFieldsAsParts) {
    // The method, body and headers, and the body and headers sent.
    const std::tuple<HTTPMethod, RequestBody, std::vector<KeyValue>, std::optional<std::string>, Pairs> cases[] = {
        {HTTPMethod::put, {.kind = BodyKind::text, .raw = "<a>{{v}}</a>"}, {}, "<a>=</a>", {{"Content-Type", "text/plain"}}},
        {HTTPMethod::delete_, {.kind = BodyKind::xml, .raw = "<a>{{v}}</a>"}, {}, "<a>=</a>", {{"Content-Type", "application/xml"}}},
        {HTTPMethod::post, {.kind = BodyKind::json, .raw = "{}"}, {row("content-TYPE", "application/vnd+json")}, "{}",
         {{"content-TYPE", "application/vnd+json"}}},
        {HTTPMethod::patch,
         {.kind = BodyKind::formURLEncoded, .form = {row("a b", "x&y"), row("off", "1", false), row("", "no key"), row("-._*~", "é+%20{{v}}")}},
         {}, "a+b=x%26y&-._*%7E=%C3%A9%2B%2520%3D", {{"Content-Type", "application/x-www-form-urlencoded"}}},
        {HTTPMethod::get, {.kind = BodyKind::json, .raw = "{}"}, {}, std::nullopt, {}},
        {HTTPMethod::head, {.kind = BodyKind::json, .raw = "{}"}, {}, std::nullopt, {}},
        {HTTPMethod::post, {.kind = BodyKind::none, .raw = "{}"}, {}, std::nullopt, {}},
    };
    for (const auto& [method, body, headers, sent, sentHeaders] : cases) {
        EXPECT_EQ((ResolvedRequest{.method = method, .url = "https://h.test/", .headers = sentHeaders, .body = sent,
                                   .bodyKind = body.kind, .bodyText = sent}),
                  resolve({.method = method, .url = "h.test", .headers = headers, .body = body}, variables({row("v", "=")})))
            << toString(method) << " " << toString(body.kind);
    }

    // Each multipart field is a part, files with their bytes.
    const TemporaryFolder folder;
    const std::string photo("\x89PNG\0", 5);
    std::ofstream(folder / "photo.bin", std::ios::binary) << photo;
    const auto resolved = resolve({.method = HTTPMethod::post, .url = "h.test",
                                   .body = {.kind = BodyKind::multipart, .form = {row("note", "hi {{v}}"), row("off", "x", false), row("photo", "@{{dir}}/photo.bin")}}},
                                  variables({row("v", "there"), row("dir", folder.path.string())}));

    ASSERT_EQ(1u, resolved.headers.size());
    EXPECT_EQ("Content-Type", resolved.headers[0].first);
    EXPECT_THAT(resolved.headers[0].second, ::testing::MatchesRegex("multipart/form-data; boundary=----Tessaline[0-9A-F]{32}"));
    // The end-to-end tests compare the parts with curl's; they do not see a part's own type.
    EXPECT_NE(std::string::npos,
              resolved.body.value_or("").find("; filename=\"photo.bin\"\r\nContent-Type: application/octet-stream\r\n\r\n" + photo + "\r\n"));
    EXPECT_EQ("note=hi there\nphoto=<file 5 bytes>\n", resolved.bodyText);
    EXPECT_NE(resolved.headers, resolve({.method = HTTPMethod::post, .url = "h.test", .body = {.kind = BodyKind::multipart}}).headers);

    const auto missing = (folder / "missing.bin").string();
    EXPECT_EQ("Could not read “" + missing + "”: No such file or directory",
              failure({.method = HTTPMethod::post, .url = "h.test", .body = {.kind = BodyKind::multipart, .form = {row("f", "@" + missing)}}}));
}

TEST(HTTPRunnerTest, RecordsTheRequestAsSentAndTheAnswerWithItsFieldsSortedIgnoringCase) {
    const std::string bytes("\xff\xfe\0body", 7);
    CannedHTTPServer server("HTTP/1.1 201 Created\r\nX-Id: 7\r\ndate: today\r\nSet-Cookie: a=1\r\nContent-Length: 7\r\nset-cookie: b=2\r\n\r\n" + bytes);
    const APIRequest original{.name = "Upload"};
    // A user agent of the request's own, in any case, replaces the runner's, which is sent end to end.
    const ResolvedRequest resolved{.method = HTTPMethod::post, .url = server.url("/echo"),
                                   .headers = {{"Content-Type", "text/plain"}, {"X-Tag", "a"}, {"user-AGENT", "Mine/2"}},
                                   .body = bytes, .bodyKind = BodyKind::text, .bodyText = "readable"};
    const auto before = std::chrono::system_clock::now();
    auto response = HTTPRunner().send(resolved, original);
    EXPECT_LE(before, response.sentAt);
    EXPECT_LE(response.sentAt, std::chrono::system_clock::now());
    EXPECT_GT(response.duration, 0);
    EXPECT_NE(response.id, HTTPRunner().send(resolved, original).id);

    EXPECT_EQ(resolved.headers, pairs(response.requestHeaders));
    EXPECT_EQ(std::string::npos, server.lastRequest().find("Tessaline")) << server.lastRequest();
    EXPECT_EQ((Pairs{{"Content-Length", "7"}, {"date", "today"}, {"Set-Cookie", "a=1, b=2"}, {"X-Id", "7"}}), pairs(response.headers));
    response.requestHeaders.clear();
    response.headers.clear();
    EXPECT_EQ((StoredResponse{.id = response.id, .requestID = original.id, .sentAt = response.sentAt, .method = HTTPMethod::post,
                              .url = server.url("/echo"), .requestBody = "readable", .status = 201, .body = bytes, .duration = response.duration}),
              response);
}

// Without a user agent of its own a request goes out with the runner's; the request's
// time-out, not the default, bounds the wait for an answer.
TEST(HTTPRunnerTest, SendsItsUserAgentAndKeepsTheRequestsTimeOut) {
    CannedHTTPServer server(std::vector<std::string>{"", "HTTP/1.1 204 No Content\r\n\r\n"}, std::chrono::milliseconds(1500));
    const auto response = HTTPRunner().send({.url = server.url()}, {.timeout = 0.3});
    EXPECT_EQ("No data arrived for 300 ms, the request's time-out.", response.error);
    EXPECT_NE(std::string::npos, server.lastRequest().find("\r\nUser-Agent: Tessaline/1.0\r\n")) << server.lastRequest();
}

}  // namespace
}  // namespace tessaline
