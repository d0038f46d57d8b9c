#include "http/HTTPRunner.hpp"

#include "support/LocalHTTPServer.hpp"

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

class HTTPRunnerTest : public testing::Test {
protected:
    void SetUp() override {
        server.http.Post("/echo", [](const httplib::Request& request, httplib::Response& response) {
            response.status = 201;
            response.set_header("X-Id", "7");
            response.set_header("date", "today");
            response.set_header("Set-Cookie", "a=1");
            response.set_header("Set-Cookie", "b=2");
            response.set_content(request.body, "application/octet-stream");
        });
        server.http.Get("/agent", [](const httplib::Request& request, httplib::Response& response) {
            response.set_content(request.get_header_value("User-Agent") + " " +
                                     std::to_string(request.get_header_value_count("User-Agent")),
                                 "text/plain");
        });
        server.start();
    }

    LocalHTTPServer server;
};

TEST_F(HTTPRunnerTest, RecordsTheRequestAsSentAndTheAnswerWithItsFieldsSortedIgnoringCase) {
    const APIRequest original{.name = "Upload"};
    const ResolvedRequest resolved{.method = HTTPMethod::post,
                                   .url = server.url("/echo"),
                                   .headers = {{"Content-Type", "text/plain"}, {"X-Tag", "a"}},
                                   .body = std::string("\xff\xfe\0body", 7),
                                   .bodyKind = BodyKind::text,
                                   .bodyText = "readable"};
    const auto before = std::chrono::system_clock::now();
    auto response = HTTPRunner().send(resolved, original);
    EXPECT_LE(before, response.sentAt);
    EXPECT_LE(response.sentAt, std::chrono::system_clock::now());
    EXPECT_GT(response.duration, 0);
    EXPECT_NE(response.id, HTTPRunner().send(resolved, original).id);

    EXPECT_EQ(resolved.headers, pairs(response.requestHeaders));
    EXPECT_EQ((Pairs{{"Connection", "close"},
                     {"Content-Length", "7"},
                     {"Content-Type", "application/octet-stream"},
                     {"date", "today"},
                     {"Set-Cookie", "a=1, b=2"},
                     {"X-Id", "7"}}),
              pairs(response.headers));
    response.requestHeaders.clear();
    response.headers.clear();
    EXPECT_EQ((StoredResponse{.id = response.id,
                              .requestID = original.id,
                              .sentAt = response.sentAt,
                              .method = HTTPMethod::post,
                              .url = server.url("/echo"),
                              .requestBody = "readable",
                              .status = 201,
                              .body = *resolved.body,
                              .duration = response.duration}),
              response);
}

TEST_F(HTTPRunnerTest, SendsItsUserAgentUnlessTheRequestHasOne) {
    const auto agent = [this](Pairs headers) {
        return HTTPRunner().send({.url = server.url("/agent"), .headers = std::move(headers)}, {}).body;
    };
    EXPECT_EQ("Tessaline/1.0 1", agent({}));
    EXPECT_EQ("Mine/2 1", agent({{"user-AGENT", "Mine/2"}}));
}

}  // namespace
}  // namespace tessaline
