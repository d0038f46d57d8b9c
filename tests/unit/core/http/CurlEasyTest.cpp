#include "core/http/CurlEasy.hpp"

#include "core/http/CurlEngine.hpp"
#include "core/support/CannedHTTPServer.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

namespace tessaline {

// So that a failed comparison shows the response, not its bytes.
void PrintTo(const CurlEasy::Response& response, std::ostream* out) {
    *out << response.status << " " << testing::PrintToString(response.headers) << " " << testing::PrintToString(response.body)
         << " (" << response.bodyBytes << " bytes) " << testing::PrintToString(response.error);
}

namespace {

CurlEasy::Response send(const CurlEasy::Request& request) { return CurlEngine::shared().perform(request); }

std::string answerWith(const std::string& fields, const std::string& body) {
    return "HTTP/1.1 200 OK\r\n" + fields + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string deflated(const std::string& bytes) {
    std::string packed(compressBound(bytes.size()), '\0');
    auto length = static_cast<uLongf>(packed.size());
    compress2(reinterpret_cast<Bytef*>(packed.data()), &length, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size(), Z_BEST_COMPRESSION);
    return packed.substr(0, length);
}

// A request as the server reads it: the request line, the fields every request carries, ours.
std::string head(const CannedHTTPServer& server, const std::string& line, const std::string& fields = "", const std::string& accept = "Accept: */*\r\n") {
    return line + " HTTP/1.1\r\nHost: " + server.url("").substr(7) + "\r\n" + accept + "Accept-Encoding: deflate, gzip, br, zstd\r\n" + fields + "\r\n";
}

TEST(CurlEasyRequestTest, SendsEachMethodWithItsBodyAndTheFieldsAsGiven) {
    CannedHTTPServer server(answerWith("", "ok"));
    const std::string body("a\0b", 3);
    for (const std::string method : {"POST", "PUT", "PATCH", "DELETE", "OPTIONS", "GET"}) {
        EXPECT_EQ((CurlEasy::Response{.status = 200, .headers = {{"Content-Length", "2"}}, .body = "ok", .bodyBytes = 2}),
                  send({.method = method, .url = server.url("/x"), .body = body}));
        EXPECT_EQ(head(server, method + " /x", "Content-Length: 3\r\n") + body, server.lastRequest());
    }
    send({.method = "POST", .url = server.url()});  // an empty POST still says its length
    EXPECT_EQ(head(server, "POST /", "Content-Length: 0\r\n"), server.lastRequest());
    EXPECT_EQ((CurlEasy::Response{.status = 200, .headers = {{"Content-Length", "2"}}}), send({.method = "HEAD", .url = server.url()}));
    EXPECT_EQ(head(server, "HEAD /"), server.lastRequest());

    // Repeated and empty fields go as given, one of libcurl's own is replaced, and no Expect
    // holds back a body above 1 MiB.
    const std::string large((1 << 20) + 1, 'b');
    send({.method = "PUT", .url = server.url("/x"), .headers = {{"X-Tag", "a"}, {"X-Empty", ""}, {"x-tag", "b"}, {"Accept", "text/csv"}}, .body = large});
    EXPECT_EQ(head(server, "PUT /x", "X-Tag: a\r\nX-Empty:\r\nx-tag: b\r\nAccept: text/csv\r\nContent-Length: 1048577\r\n", "") + large,
              server.lastRequest());
}

// A redirect to itself: followed, it ends at the limit of redirects.
TEST(CurlEasyRequestTest, FollowsRedirectsOnlyWhenAsked) {
    CannedHTTPServer server("HTTP/1.1 302 Found\r\nLocation: /moved\r\nConnection: close\r\nContent-Length: 5\r\n\r\nmoved");
    EXPECT_EQ((CurlEasy::Response{.status = 302, .headers = {{"Location", "/moved"}, {"Connection", "close"}, {"Content-Length", "5"}}, .body = "moved", .bodyBytes = 5}),
              send({.method = "POST", .url = server.url("/moved"), .body = "x"}));
    EXPECT_EQ((CurlEasy::Response{.error = "Maximum (20) redirects followed"}),
              send({.method = "POST", .url = server.url("/moved"), .body = "x", .followRedirects = true}));
    EXPECT_EQ(head(server, "GET /moved"), server.lastRequest());  // a POST turns into a GET on a 302, as in browsers
}

TEST(CurlEasyResponseTest, KeepsOnlyTheFinalResponsesFieldsWithRepeatsMerged) {
    CannedHTTPServer server("HTTP/1.1 103 Early Hints\r\nLink: </a.css>\r\n\r\n"
                            "HTTP/1.1 200 OK\r\nSet-Cookie: a=1\r\nX-Id: 7\r\nset-cookie: b=2\r\n"
                            "Content-Length: 2\r\n\r\nok");
    EXPECT_EQ((CurlEasy::Response{.status = 200, .headers = {{"Set-Cookie", "a=1, b=2"}, {"X-Id", "7"}, {"Content-Length", "2"}},
                                  .body = "ok", .bodyBytes = 2}),
              send({.url = server.url()}));
}

// A compressed body counts by its decoded size, so that a small bomb is cut like any body.
TEST(CurlEasyResponseTest, KeepsABodyUpToTheLimitAndCountsTheRest) {
    CannedHTTPServer server(answerWith("Content-Encoding: deflate\r\n", deflated(std::string(64 << 20, '\0'))));
    const auto response = send({.url = server.url()});
    EXPECT_EQ(200, response.status);
    EXPECT_TRUE(response.body == std::string(CurlEasy::bodyLimit, '\0')) << response.body.size() << " bytes kept";
    EXPECT_EQ(64u << 20, response.bodyBytes);
}

TEST(CurlEasyFailureTest, ReportsTheSpecificTextAndNothingElse) {
    const struct {
        const char* answer;
        const char* error;
    } cases[] = {
        {"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nshort", "transfer closed with 5 bytes remaining to read"},
        {"HTTP/1.1 200 OK\r\nContent-Ty", "The connection closed inside the response's header block."},
        {"HTTP/1.1 200 OK\r\n", "The connection closed inside the response's header block."},
        {"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nX-A: 1\r\n", "The connection closed inside the response's header block."},
    };
    for (const auto& [answer, error] : cases) {
        CannedHTTPServer server(answer);
        EXPECT_EQ((CurlEasy::Response{.error = error}), send({.url = server.url()})) << answer;
    }
    EXPECT_EQ((CurlEasy::Response{.error = "Protocol \"file\" not supported or disabled in libcurl"}),
              send({.url = "file:///etc/hostname"}));
}

TEST(CurlEasyFailureTest, StopsAnExchangeThatTricklesPastFourTimesItsTimeOut) {
    // The body's bytes come a tenth of a second apart: too fast for the idle limit, too slow
    // to finish within the whole exchange's.
    CannedHTTPServer trickling(answerWith("", std::string(100, 'x')), std::chrono::milliseconds(100));
    EXPECT_EQ((CurlEasy::Response{.error = "The exchange was stopped after 2000 ms, four times the request's time-out."}),
              send({.url = trickling.url(), .timeout = 0.5}));
}

// A time-out of zero stands for the default, so an answer that keeps the client waiting a
// second and a half still arrives.
TEST(CurlEasyFailureTest, TakesAZeroTimeOutForTheDefault) {
    CannedHTTPServer slow(answerWith("", "x"), std::chrono::milliseconds(1500));
    EXPECT_EQ((CurlEasy::Response{.status = 200, .headers = {{"Content-Length", "1"}}, .body = "x", .bodyBytes = 1}),
              send({.url = slow.url(), .timeout = 0}));
}

}  // namespace
}  // namespace tessaline
