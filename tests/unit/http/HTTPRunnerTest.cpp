#include "http/HTTPRunner.hpp"

#include "support/CannedHTTPServer.hpp"
#include "support/CurlEasy.hpp"
#include "support/LocalHTTPServer.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

#include <condition_variable>
#include <mutex>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessaline {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs pairs(const std::vector<KeyValue>& rows) {
    Pairs result;
    for (const auto& row : rows) result.emplace_back(row.key, row.value);
    return result;
}

std::optional<std::string> field(const StoredResponse& response, std::string_view name) {
    const auto found = std::find_if(response.headers.begin(), response.headers.end(),
                                    [name](const KeyValue& header) { return header.key == name; });
    if (found == response.headers.end()) return std::nullopt;
    return found->value;
}

// A port on 127.0.0.1 that nothing listens on.
int closedPort() {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(socket, reinterpret_cast<sockaddr*>(&address), length);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(socket);
    return ntohs(address.sin_port);
}

std::string everyByteRepeated(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t index = 0; index < size; ++index) bytes[index] = static_cast<char>(index % 251);
    return bytes;
}

std::string gzipped(const std::string& bytes) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY);  // 16: gzip framing
    std::string packed(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

std::string answerWith(const std::string& header, const std::string& body) {
    return "HTTP/1.1 200 OK\r\n" + header + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

class HTTPRunnerTest : public testing::Test {
protected:
    void SetUp() override {
        auto& http = server.http;
        http.Get("/moved", [this](const httplib::Request&, httplib::Response& response) {
            response.set_redirect(server.url("/text"), 302);
            response.set_content("see elsewhere", "text/plain");
        });
        http.Get("/text", [](const httplib::Request&, httplib::Response& response) {
            response.set_content(std::string(1000, 'z'), "text/plain");
        });
        http.Get("/agent", [](const httplib::Request& request, httplib::Response& response) {
            response.set_content(request.get_header_value("User-Agent") + " " +
                                     std::to_string(request.get_header_value_count("User-Agent")),
                                 "text/plain");
        });
        http.Post("/echo", [](const httplib::Request& request, httplib::Response& response) {
            response.status = 201;
            response.set_content(request.body, "application/octet-stream");
        });
        http.Get("/fields", [](const httplib::Request&, httplib::Response& response) {
            response.set_header("X-Id", "7");
            response.set_header("date", "today");
            response.set_header("Set-Cookie", "a=1");
            response.set_header("Set-Cookie", "b=2");
            response.set_content("{}", "application/octet-stream");
        });
        http.Get("/bytes", [](const httplib::Request&, httplib::Response& response) {
            response.set_content(everyByteRepeated(8 << 20), "application/octet-stream");
        });
        http.Get("/chunks", [](const httplib::Request&, httplib::Response& response) {
            response.set_chunked_content_provider("application/octet-stream", [](std::size_t offset, httplib::DataSink& sink) {
                sink.write(offset == 0 ? "first," : "second", 6);
                if (offset > 0) sink.done();
                return true;
            });
        });
        http.Get("/slow", [this](const httplib::Request&, httplib::Response& response) {
            std::unique_lock lock(mutex);
            released.wait_for(lock, std::chrono::seconds(20), [this] { return done; });
            response.set_content("late", "text/plain");
        });
        http.Get("/failure", [](const httplib::Request&, httplib::Response& response) { response.status = 500; });

        server.start();
    }

    void TearDown() override {
        const std::lock_guard lock(mutex);
        done = true;
        released.notify_all();
    }

    StoredResponse send(const std::string& path, Pairs headers = {}, APIRequest original = {}) {
        return HTTPRunner().send({.url = server.url(path), .headers = std::move(headers)}, original);
    }

    LocalHTTPServer server;
    std::mutex mutex;
    std::condition_variable released;
    bool done = false;
};

TEST_F(HTTPRunnerTest, RecordsTheRequestAsSentAndTheAnswer) {
    const APIRequest original{.name = "Upload"};
    const ResolvedRequest resolved{.method = HTTPMethod::post,
                                   .url = server.url("/echo"),
                                   .headers = {{"Content-Type", "text/plain"}, {"X-Tag", "a"}},
                                   .body = std::string("\xff\xfe\0body", 7),
                                   .bodyKind = BodyKind::text,
                                   .bodyText = "readable"};
    const auto before = std::chrono::system_clock::now();
    const auto response = HTTPRunner().send(resolved, original);

    EXPECT_EQ(original.id, response.requestID);
    EXPECT_LE(before, response.sentAt);
    EXPECT_LE(response.sentAt, std::chrono::system_clock::now());
    EXPECT_EQ(HTTPMethod::post, response.method);
    EXPECT_EQ(server.url("/echo"), response.url);
    EXPECT_EQ(resolved.headers, pairs(response.requestHeaders));
    EXPECT_TRUE(std::all_of(response.requestHeaders.begin(), response.requestHeaders.end(),
                            [](const KeyValue& row) { return row.enabled; }));
    EXPECT_EQ("readable", response.requestBody);
    EXPECT_EQ(201, response.status);
    EXPECT_EQ(*resolved.body, response.body);
    EXPECT_GT(response.duration, 0);
    EXPECT_FALSE(response.error);
    EXPECT_NE(response.id, HTTPRunner().send(resolved, original).id);
}

TEST_F(HTTPRunnerTest, AnErrorStatusIsAnAnswerNotAFailure) {
    const auto response = send("/failure");
    EXPECT_EQ(500, response.status);
    EXPECT_FALSE(response.error);
}

TEST_F(HTTPRunnerTest, FollowsARedirectOnlyWhenTheRequestSaysSo) {
    const auto stopped = send("/moved", {}, {.followRedirects = false});
    EXPECT_EQ(302, stopped.status);
    EXPECT_EQ("see elsewhere", stopped.body);
    EXPECT_EQ(server.url("/text"), field(stopped, "Location"));

    const auto followed = send("/moved", {}, {.followRedirects = true});
    EXPECT_EQ(200, followed.status);
    EXPECT_EQ(std::string(1000, 'z'), followed.body);
    EXPECT_EQ(server.url("/moved"), followed.url);
}

TEST_F(HTTPRunnerTest, DecodesCompressedBodies) {
    for (const std::string encoding : {"gzip", "br"}) {
        SCOPED_TRACE(encoding);
        const auto response = send("/text", {{"Accept-Encoding", encoding}});
        EXPECT_EQ(std::string(1000, 'z'), response.body);
        EXPECT_EQ(encoding, field(response, "Content-Encoding"));
    }
}

TEST_F(HTTPRunnerTest, WaitsForAHundredContinueWhenTheRequestAsksForIt) {
    int interimAnswers = 0;
    server.http.set_expect_100_continue_handler([&](const httplib::Request&, httplib::Response&) {
        ++interimAnswers;
        return 100;
    });
    const auto response = HTTPRunner().send(
        {.method = HTTPMethod::post, .url = server.url("/echo"), .headers = {{"Expect", "100-continue"}}, .body = "payload"},
        {});
    EXPECT_EQ(1, interimAnswers);
    EXPECT_EQ(201, response.status);
    EXPECT_EQ("payload", response.body);
}

TEST_F(HTTPRunnerTest, SendsItsUserAgentUnlessTheRequestHasOne) {
    EXPECT_EQ("Tessaline/1.0 1", send("/agent").body);
    EXPECT_EQ("Mine/2 1", send("/agent", {{"user-AGENT", "Mine/2"}}).body);
}

TEST_F(HTTPRunnerTest, MergesRepeatedFieldsAndSortsThemIgnoringCase) {
    const auto response = send("/fields");
    EXPECT_EQ((Pairs{{"Connection", "close"},
                     {"Content-Length", "2"},
                     {"Content-Type", "application/octet-stream"},
                     {"date", "today"},
                     {"Set-Cookie", "a=1, b=2"},
                     {"X-Id", "7"}}),
              pairs(response.headers));
}

TEST_F(HTTPRunnerTest, KeepsLargeAndChunkedBodiesByteForByte) {
    EXPECT_EQ(everyByteRepeated(8 << 20), send("/bytes").body);
    EXPECT_EQ("first,second", send("/chunks").body);
}

TEST_F(HTTPRunnerTest, RecordsATimeOutAsAFailure) {
    const auto response = send("/slow", {}, {.timeout = 1});
    EXPECT_EQ(0, response.status);
    EXPECT_TRUE(response.headers.empty());
    EXPECT_EQ("", response.body);
    EXPECT_EQ("Operation too slow. Less than 1 bytes/sec transferred the last 1 seconds", response.error);
    EXPECT_GE(response.duration, 1);
}

TEST_F(HTTPRunnerTest, StopsAnExchangeAfterFourTimesItsTimeOut) {
    // Ten bytes a second: more than the idle time-out notices.
    CannedHTTPServer trickling(answerWith("", std::string(100, 'x')), std::chrono::milliseconds(100));
    const auto response = HTTPRunner().send({.url = trickling.url()}, {.timeout = 0.5});
    EXPECT_EQ(0, response.status);
    EXPECT_EQ("The exchange was stopped after 2000 ms, four times the request's time-out.", response.error);
    EXPECT_EQ(std::string(1000, 'z'), send("/text").body);
}

// Plain or compressed, a body is kept up to the limit and counted to its end; the client
// keeps answering afterwards.
TEST(HTTPRunnerLimitsTest, KeepsABodyUpToTheLimitAndCountsTheRest) {
    const auto limit = CurlEasy::bodyLimit;
    const std::string bomb = gzipped(std::string(64 << 20, '\0'));
    const struct {
        const char* name;
        std::string answer;
        std::string kept;
        std::int64_t bytes;
    } cases[] = {
        {"plain", answerWith("", everyByteRepeated(limit + 5)), everyByteRepeated(limit), limit + 5},
        {"gzip bomb", answerWith("Content-Encoding: gzip\r\n", bomb), std::string(limit, '\0'), 64 << 20},
    };
    for (const auto& [name, answer, kept, bytes] : cases) {
        SCOPED_TRACE(name);
        CannedHTTPServer server(answer);
        const auto response = HTTPRunner().send({.url = server.url()}, {});
        EXPECT_EQ(200, response.status);
        EXPECT_FALSE(response.error);
        EXPECT_TRUE(response.body == kept);
        EXPECT_EQ(bytes, response.bodyBytes);
    }
    CannedHTTPServer small(answerWith("", "ok"));
    const auto whole = HTTPRunner().send({.url = small.url()}, {});
    EXPECT_EQ("ok", whole.body);
    EXPECT_FALSE(whole.bodyBytes);
}

TEST(HTTPRunnerFailureTest, RecordsARefusedConnectionAsAFailure) {
    const auto port = std::to_string(closedPort());
    const auto response = HTTPRunner().send({.url = "http://127.0.0.1:" + port + "/x"}, {});
    EXPECT_EQ(0, response.status);
    EXPECT_EQ("http://127.0.0.1:" + port + "/x", response.url);
    EXPECT_EQ(0u, response.error->rfind("Failed to connect to 127.0.0.1 port " + port + " after ", 0)) << *response.error;
    EXPECT_GT(response.duration, 0);
}

}  // namespace
}  // namespace tessaline
