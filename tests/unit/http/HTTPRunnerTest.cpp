#include "http/HTTPRunner.hpp"

#include "support/CannedHTTPServer.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

// The rows without their ids, which are new in every record.
Pairs pairs(const std::vector<KeyValue>& rows) {
    Pairs result;
    for (const auto& row : rows) result.emplace_back(row.key, row.value);
    return result;
}

TEST(HTTPRunnerTest, RecordsTheRequestAsSentAndTheAnswerWithItsFieldsSortedIgnoringCase) {
    const std::string bytes("\xff\xfe\0body", 7);
    CannedHTTPServer server("HTTP/1.1 201 Created\r\nX-Id: 7\r\ndate: today\r\nSet-Cookie: a=1\r\nContent-Length: 7\r\nset-cookie: b=2\r\n\r\n" + bytes);
    const APIRequest original{.name = "Upload"};
    const ResolvedRequest resolved{.method = HTTPMethod::post, .url = server.url("/echo"), .headers = {{"Content-Type", "text/plain"}, {"X-Tag", "a"}},
                                   .body = bytes, .bodyKind = BodyKind::text, .bodyText = "readable"};
    const auto before = std::chrono::system_clock::now();
    auto response = HTTPRunner().send(resolved, original);
    EXPECT_LE(before, response.sentAt);
    EXPECT_LE(response.sentAt, std::chrono::system_clock::now());
    EXPECT_GT(response.duration, 0);
    EXPECT_NE(response.id, HTTPRunner().send(resolved, original).id);

    EXPECT_EQ(resolved.headers, pairs(response.requestHeaders));
    EXPECT_EQ((Pairs{{"Content-Length", "7"}, {"date", "today"}, {"Set-Cookie", "a=1, b=2"}, {"X-Id", "7"}}), pairs(response.headers));
    response.requestHeaders.clear();
    response.headers.clear();
    EXPECT_EQ((StoredResponse{.id = response.id, .requestID = original.id, .sentAt = response.sentAt, .method = HTTPMethod::post,
                              .url = server.url("/echo"), .requestBody = "readable", .status = 201, .body = bytes, .duration = response.duration}),
              response);
}

TEST(HTTPRunnerTest, SendsItsUserAgentUnlessTheRequestHasOne) {
    CannedHTTPServer server("HTTP/1.1 204 No Content\r\n\r\n");
    HTTPRunner().send({.url = server.url()}, {});
    EXPECT_NE(std::string::npos, server.lastRequest().find("\r\nUser-Agent: Tessaline/1.0\r\n"));
    HTTPRunner().send({.url = server.url(), .headers = {{"user-AGENT", "Mine/2"}}}, {});
    EXPECT_EQ(std::string::npos, server.lastRequest().find("Tessaline")) << server.lastRequest();
}

}  // namespace
}  // namespace tessaline
