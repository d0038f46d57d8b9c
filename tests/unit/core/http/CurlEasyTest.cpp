#include "core/http/CurlEasy.hpp"

#include "core/http/CurlEngine.hpp"
#include "core/support/CannedHTTPServer.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include <unistd.h>

namespace tessaline {

// So that a failed comparison shows the response, not its bytes.
void PrintTo(const CurlEasy::Response& response, std::ostream* out) {
    *out << response.status << " " << testing::PrintToString(response.headers) << " " << testing::PrintToString(response.body)
         << " (" << response.bodyBytes << " bytes) " << testing::PrintToString(response.error);
}

namespace {

CurlEasy::Response send(const CurlEasy::Request& request, const TransferControl& control = {}) {
    return CurlEngine::shared().perform(request, control);
}

using std::chrono::milliseconds;

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

    // A field's text ends at a NUL, as a C string does; the lines after it still go whole (here
    // the one that keeps libcurl from labelling the body a form).
    send({.method = "POST", .url = server.url("/n"), .headers = {{"X-Cut", std::string("a\0b", 3)}}, .body = "z"});
    EXPECT_EQ(head(server, "POST /n", "X-Cut: a\r\nContent-Length: 1\r\n") + "z", server.lastRequest());
}

// One handle serves every exchange of a thread: no method, body, field, URL or redirect
// setting of one request may go with the next.
TEST(CurlEasyRequestTest, LeavesNothingOfOneRequestToTheNext) {
    CannedHTTPServer server(answerWith("", "ok"));
    const CurlEasy::Response answered{.status = 200, .headers = {{"Content-Length", "2"}}, .body = "ok", .bodyBytes = 2};
    // Some URLs come already taken apart, as a resolved request hands them over.
    const auto parsedB = URLComponents::parse(server.url("/b"));
    const auto parsedG = URLComponents::parse(server.url("/g"));
    const struct {
        CurlEasy::Request request;
        std::string sent;
    } sequence[] = {
        {{.method = "HEAD", .url = server.url("/a")}, head(server, "HEAD /a")},
        {{.method = "GET", .url = server.url("/b"), .parsedURL = &*parsedB}, head(server, "GET /b")},
        {{.method = "PUT", .url = server.url("/c"), .headers = {{"X-Tag", "a"}}, .body = "put"},
         head(server, "PUT /c", "X-Tag: a\r\nContent-Length: 3\r\n") + "put"},
        {{.method = "DELETE", .url = server.url("/d")}, head(server, "DELETE /d")},
        {{.method = "POST", .url = server.url("/e"), .body = "post"}, head(server, "POST /e", "Content-Length: 4\r\n") + "post"},
        {{.method = "GET", .url = server.url("/f")}, head(server, "GET /f")},
        {{.method = "PATCH", .url = server.url("/g"), .parsedURL = &*parsedG, .body = "patch"},
         head(server, "PATCH /g", "Content-Length: 5\r\n") + "patch"},
        {{.method = "HEAD", .url = server.url("/h")}, head(server, "HEAD /h")},
        {{.method = "POST", .url = server.url("/i")}, head(server, "POST /i", "Content-Length: 0\r\n")},
        // An empty body held by a view of nothing at all still goes out as no bytes.
        {{.method = "PUT", .url = server.url("/j"), .body = std::string_view()}, head(server, "PUT /j", "Content-Length: 0\r\n")},
    };
    const CurlEasy::Response headAnswered{.status = 200, .headers = {{"Content-Length", "2"}}};
    for (const auto& [request, sent] : sequence) {
        EXPECT_EQ(request.method == "HEAD" ? headAnswered : answered, send(request)) << request.method;
        EXPECT_EQ(sent, server.lastRequest());
    }
}

// A redirect to itself: followed, it ends at the limit of redirects.
TEST(CurlEasyRequestTest, FollowsRedirectsOnlyWhenAsked) {
    CannedHTTPServer server("HTTP/1.1 302 Found\r\nLocation: /moved\r\nConnection: close\r\nContent-Length: 5\r\n\r\nmoved");
    EXPECT_EQ((CurlEasy::Response{.status = 302, .headers = {{"Location", "/moved"}, {"Connection", "close"}, {"Content-Length", "5"}}, .body = "moved", .bodyBytes = 5}),
              send({.method = "POST", .url = server.url("/moved"), .body = "x"}));
    EXPECT_EQ((CurlEasy::Response{.error = "Maximum (20) redirects followed"}),
              send({.method = "POST", .url = server.url("/moved"), .body = "x", .followRedirects = true}));
    EXPECT_EQ(302, send({.url = server.url("/moved")}).status);  // the handle does not keep following
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

// An obsolete folded line goes on the field it continues, even once merged; trailers come
// after the header block and are not the response's fields.
TEST(CurlEasyResponseTest, UnfoldsFoldedLinesAndLeavesOutTrailers) {
    CannedHTTPServer server("HTTP/1.1 200 OK\r\nX-A: one\r\n  two\r\n\tthree\r\nX-B: b\r\nx-a: again\r\n   more  \r\n"
                            "Trailer: X-T\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\nX-T: t\r\n\r\n");
    EXPECT_EQ((CurlEasy::Response{.status = 200,
                                  .headers = {{"X-A", "one two\tthree, again more"}, {"X-B", "b"}, {"Trailer", "X-T"}, {"Transfer-Encoding", "chunked"}},
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
        // Fields that tell where a body ends do not make a cut header block look like a cut body.
        {"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n", "The connection closed inside the response's header block."},
        {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n", "The connection closed inside the response's header block."},
    };
    for (const auto& [answer, error] : cases) {
        CannedHTTPServer server(answer);
        EXPECT_EQ((CurlEasy::Response{.error = error}), send({.url = server.url()})) << answer;
    }
    EXPECT_EQ((CurlEasy::Response{.error = "Protocol \"file\" not supported or disabled in libcurl"}),
              send({.url = "file:///etc/hostname"}));
}

// Each limit ends the exchange the same way at every run: bytes or header lines that come
// well within the time-out hold it until four times the time-out, a silence as long as the
// time-out ends it at once. The cases run at the same time, each twice.
TEST(CurlEasyLimitTest, StopsATrickleAtFourTimesTheTimeOutAndASilenceAtTheTimeOut) {
    const std::string answer = answerWith("", "xxxxxxxxxx");
    std::vector<std::string> lines{"HTTP/1.1 200 OK\r\n"};
    for (int line = 0; line < 24; ++line) lines.push_back("X-Line: " + std::to_string(line) + "\r\n");
    lines.emplace_back("\r\n");
    const std::string silent = "No data arrived for 500 ms, the request's time-out.";
    const struct {
        std::vector<std::string> pieces;
        milliseconds pause;
        double timeout;
        std::string error;
    } cases[] = {
        {CannedHTTPServer::headThenBytes(answer), milliseconds(1000), 1.5, "The exchange was stopped after 6000 ms, four times the request's time-out."},
        {lines, milliseconds(250), 1, "The exchange was stopped after 4000 ms, four times the request's time-out."},
        {CannedHTTPServer::headThenBytes(answer), milliseconds(1500), 0.5, silent},
        {{"", answer}, milliseconds(1500), 0.5, silent},  // no answer at all
    };
    std::vector<std::optional<std::string>> errors(2 * std::size(cases));
    std::vector<std::thread> threads;
    for (std::size_t run = 0; run < errors.size(); ++run) {
        threads.emplace_back([&cases, &errors, run] {
            const auto& limit = cases[run / 2];
            CannedHTTPServer server(limit.pieces, limit.pause);
            errors[run] = send({.url = server.url(), .timeout = limit.timeout}).error;
        });
    }
    for (auto& thread : threads) thread.join();
    for (std::size_t run = 0; run < errors.size(); ++run) EXPECT_EQ(cases[run / 2].error, errors[run]) << "case " << run / 2;
}

// A listener whose queue of connections is full lets no new one through.
TEST(CurlEasyLimitTest, NamesAConnectionNotMadeWithinTheTimeOut) {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
    socklen_t length = sizeof address;
    ::bind(listener, reinterpret_cast<sockaddr*>(&address), length);
    ::listen(listener, 0);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    const int waiting = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(0, ::connect(waiting, reinterpret_cast<sockaddr*>(&address), length));
    EXPECT_EQ("No connection was made within 300 ms, the request's time-out.",
              send({.url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/", .timeout = 0.3}).error);
    ::close(waiting);
    ::close(listener);
}

// A time-out of zero stands for the default, so an answer that keeps the client waiting a
// second and a half still arrives.
TEST(CurlEasyFailureTest, TakesAZeroTimeOutForTheDefault) {
    CannedHTTPServer slow(answerWith("", "x"), std::chrono::milliseconds(1500));
    EXPECT_EQ((CurlEasy::Response{.status = 200, .headers = {{"Content-Length", "1"}}, .body = "x", .bodyBytes = 1}),
              send({.url = slow.url(), .timeout = 0}));
}

// The peer sees its connection close, whether the answer has begun or not; an exchange
// cancelled before it starts never connects.
TEST(CurlEasyControlTest, CancelsBeforeAndWhileTheExchangeRuns) {
    const std::string cancelled(CurlEasy::cancelledText);
    std::atomic<bool> before = true;
    CannedHTTPServer unused(answerWith("", "x"));
    EXPECT_EQ(cancelled, send({.url = unused.url()}, {.cancelled = &before}).error);
    EXPECT_EQ(0, unused.connections());

    for (const bool responding : {false, true}) {
        CannedHTTPServer server({"", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n", "o", "k"}, milliseconds(1000));
        std::atomic<bool> flag = false;
        const auto cancel = [&flag, responding](const TransferProgress& progress) {
            if (progress.responding == responding) flag = true;
        };
        EXPECT_EQ(cancelled, send({.url = server.url()}, {.cancelled = &flag, .progress = cancel}).error) << responding;
        EXPECT_TRUE(server.waitForEarlyClose()) << responding;
    }
}

// The descriptor is the input of the thread that runs the exchange: once something arrives
// there, or the input ends, the caller hears of it once, and the exchange goes on to its end.
TEST(CurlEasyControlTest, ReportsAWatchedDescriptorOnceWhenReadyOrClosed) {
    for (const bool closed : {false, true}) {
        std::array<int, 2> ends{};
        ASSERT_EQ(0, ::pipe(ends.data()));
        if (closed) {
            ::close(ends[1]);
        } else {
            ASSERT_EQ(1, ::write(ends[1], "x", 1));
        }
        CannedHTTPServer server({"", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n", "o", "k"}, milliseconds(30));
        int reports = 0;
        const auto response = send({.url = server.url()}, {.watched = ends[0], .watchedReady = [&reports] { ++reports; }});
        EXPECT_EQ("ok", response.body) << closed;
        EXPECT_EQ(1, reports) << closed;
        ::close(ends[0]);
        if (!closed) ::close(ends[1]);
    }
}

// Progress counts the decoded body; an encoded body's announced length counts other bytes.
TEST(CurlEasyControlTest, ReportsProgressWhileTheExchangeRuns) {
    std::vector<std::string> pieces{"", "HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\n"};
    for (const char byte : std::string("abcdefgh")) pieces.emplace_back(1, byte);
    CannedHTTPServer server(pieces, milliseconds(100));
    std::vector<TransferProgress> reports;
    const auto report = [&reports](const TransferProgress& progress) { reports.push_back(progress); };
    EXPECT_EQ("abcdefgh", send({.url = server.url()}, {.progress = report}).body);
    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(TransferProgress{}, reports.front());  // before the answer
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end(), [](const auto& one, const auto& other) { return one.received < other.received; }));
    const auto midway = std::find_if(reports.begin(), reports.end(), [](const auto& progress) { return progress.received > 0 && progress.received < 8; });
    ASSERT_NE(reports.end(), midway);
    EXPECT_EQ((TransferProgress{.responding = true, .received = midway->received, .total = 8}), *midway);

    CannedHTTPServer encoded(answerWith("Content-Encoding: deflate\r\n", deflated("compressed")), milliseconds(50));
    reports.clear();
    EXPECT_EQ("compressed", send({.url = encoded.url()}, {.progress = report}).body);
    EXPECT_TRUE(std::any_of(reports.begin(), reports.end(), [](const auto& progress) { return progress.responding; }));
    EXPECT_TRUE(std::none_of(reports.begin(), reports.end(), [](const auto& progress) { return progress.total.has_value(); }));
}

}  // namespace
}  // namespace tessaline
