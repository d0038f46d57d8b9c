#include "support/CurlEasy.hpp"

#include "support/CurlEngine.hpp"

#include "support/CannedHTTPServer.hpp"
#include "support/LocalHTTPServer.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Headers = std::vector<CurlEasy::Header>;

CurlEasy::Response send(const CurlEasy::Request& request) { return CurlEngine::shared().perform(request); }

TEST(CurlEasyRequestTest, SendsEachMethodWithItsBody) {
    CannedHTTPServer server("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    const std::string body("a\0b", 3);
    for (const std::string method : {"POST", "PUT", "PATCH", "DELETE", "OPTIONS", "GET"}) {
        SCOPED_TRACE(method);
        const auto response = send({.method = method, .url = server.url("/x"), .body = body});
        EXPECT_EQ((CurlEasy::Response{.status = 200, .headers = {{"Content-Length", "2"}}, .body = "ok", .bodyBytes = 2}), response);
        const auto request = server.lastRequest();
        EXPECT_EQ(method + " /x HTTP/1.1\r\n", request.substr(0, request.find('\n') + 1));
        EXPECT_EQ("Content-Length: 3\r\n", request.substr(request.find("Content-Length"), 19));
        EXPECT_EQ("\r\n\r\n" + body, request.substr(request.size() - 7));
    }
}

TEST(CurlEasyRequestTest, SendsAnEmptyPostWithItsLengthAndNoTypeAndAHeadWithoutBody) {
    CannedHTTPServer server("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    send({.method = "POST", .url = server.url()});
    EXPECT_NE(std::string::npos, server.lastRequest().find("\r\nContent-Length: 0\r\n"));
    EXPECT_EQ(std::string::npos, server.lastRequest().find("Content-Type"));

    const auto head = send({.method = "HEAD", .url = server.url()});
    EXPECT_EQ("HEAD / HTTP/1.1\r\n", server.lastRequest().substr(0, 17));
    EXPECT_EQ(200, head.status);
    EXPECT_EQ("", head.body);
}

TEST(CurlEasyRedirectTest, FollowsRedirectsOnlyWhenAsked) {
    LocalHTTPServer server;
    server.http.Get("/echo", [](const httplib::Request& request, httplib::Response& response) {
        response.set_content(request.method, "text/plain");
    });
    server.http.Post("/moved", [&server](const httplib::Request&, httplib::Response& response) {
        response.set_redirect(server.url("/echo"), 302);
        response.set_content("moved", "text/plain");
    });
    server.start();

    const auto stopped = send({.method = "POST", .url = server.url("/moved"), .body = "x"});
    EXPECT_EQ(302, stopped.status);
    EXPECT_EQ("moved", stopped.body);

    // A POST turns into a GET on a 302, as in browsers.
    const auto followed =
        send({.method = "POST", .url = server.url("/moved"), .body = "x", .followRedirects = true});
    EXPECT_EQ(200, followed.status);
    EXPECT_EQ("GET", followed.body);
}

TEST(CurlEasyRequestTest, SendsRepeatedAndEmptyHeadersAsGivenAndNoExpect) {
    CannedHTTPServer server("HTTP/1.1 204 No Content\r\n\r\n");
    send({.method = "PUT",
                        .url = server.url("/x"),
                        .headers = {{"X-Tag", "a"}, {"X-Empty", ""}, {"x-tag", "b"}, {"Accept", "text/csv"}},
                        .body = std::string((1 << 20) + 1, 'b')});  // libcurl's own Expect starts above 1 MiB
    const auto request = server.lastRequest();
    const auto head = request.substr(0, request.find("\r\n\r\n") + 4);
    EXPECT_EQ("PUT /x HTTP/1.1\r\nHost: " + server.url("").substr(7) +
                  "\r\nAccept-Encoding: deflate, gzip, br, zstd\r\n"
                  "X-Tag: a\r\nX-Empty:\r\nx-tag: b\r\nAccept: text/csv\r\nContent-Length: 1048577\r\n\r\n",
              head);
}

TEST(CurlEasyHeadersTest, KeepsOnlyTheFinalResponsesFieldsWithRepeatsMerged) {
    CannedHTTPServer server("HTTP/1.1 103 Early Hints\r\nLink: </a.css>\r\n\r\n"
                            "HTTP/1.1 200 OK\r\nSet-Cookie: a=1\r\nX-Id: 7\r\nset-cookie: b=2\r\n"
                            "Content-Length: 2\r\n\r\nok");
    const auto response = send({.url = server.url()});
    EXPECT_EQ(200, response.status);
    EXPECT_EQ((Headers{{"Set-Cookie", "a=1, b=2"}, {"X-Id", "7"}, {"Content-Length", "2"}}), response.headers);
    EXPECT_EQ("ok", response.body);
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
        SCOPED_TRACE(answer);
        CannedHTTPServer server(answer);
        EXPECT_EQ((CurlEasy::Response{.error = error}), send({.url = server.url()}));
    }

    const auto file = send({.url = "file:///etc/hostname"});
    EXPECT_EQ("Protocol \"file\" not supported or disabled in libcurl", file.error);
    EXPECT_EQ(0, file.status);
}

}  // namespace
}  // namespace tessaline
