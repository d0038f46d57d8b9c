#include "oauth/LoopbackReceiver.hpp"

#include <gtest/gtest.h>

#include <future>

namespace tessaline {
namespace {

using asio::ip::tcp;
using namespace std::chrono_literals;

// Sends raw bytes to the receiver and returns all it answers.
std::string sendRaw(std::uint16_t port, const std::string& request) {
    asio::io_context io;
    tcp::socket socket(io);
    socket.connect({asio::ip::address_v4::loopback(), port});
    asio::write(socket, asio::buffer(request));
    std::string reply;
    asio::error_code error;
    asio::read(socket, asio::dynamic_buffer(reply), error);
    return reply;
}

std::string get(std::uint16_t port, const std::string& target) {
    return sendRaw(port, "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
}

// Whether the receiver has stopped listening, which it does soon after its outcome is set.
bool stopsListening(std::uint16_t port) {
    for (int attempt = 0; attempt < 200; ++attempt) {
        asio::io_context io;
        tcp::socket socket(io);
        asio::error_code error;
        socket.connect({asio::ip::address_v4::loopback(), port}, error);
        if (error) return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

std::string expectedReply(std::string_view status, const std::string& body) {
    return "HTTP/1.1 " + std::string(status) + "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n" + body;
}

TEST(LoopbackReceiverTest, StrayRequestsAreTurnedAwayAndTheRedirectIsKept) {
    const auto receiver = LoopbackReceiver::start(std::nullopt, "/callback");
    const auto port = receiver->port();
    ASSERT_NE(0, port);

    EXPECT_EQ(expectedReply("404 Not Found", "Not found"), get(port, "/favicon.ico"));
    EXPECT_EQ(expectedReply("404 Not Found", "Not found"), get(port, "/callback/extra?code=x"));
    EXPECT_EQ(expectedReply("400 Bad Request", "Bad request"), sendRaw(port, "GARBAGE\r\n\r\n"));
    EXPECT_EQ(expectedReply("400 Bad Request", "Bad request"), sendRaw(port, "\r\n"));

    EXPECT_EQ(expectedReply("200 OK", LoopbackReceiver::page(true)), get(port, "/callback?code=abc&state=xyz"));
    EXPECT_EQ("http://127.0.0.1:" + std::to_string(port) + "/callback?code=abc&state=xyz", receiver->wait(1s));
    EXPECT_TRUE(stopsListening(port));
}

TEST(LoopbackReceiverTest, AnErrorRedirectGetsTheFailurePageAndIsStillTheOutcome) {
    const auto receiver = LoopbackReceiver::start(std::nullopt, "/");
    const auto port = receiver->port();
    auto waiting = std::async(std::launch::async, [&] { return receiver->wait(5s); });
    EXPECT_EQ(expectedReply("200 OK", LoopbackReceiver::page(false)), get(port, "/?error=access_denied&state=s"));
    EXPECT_EQ("http://127.0.0.1:" + std::to_string(port) + "/?error=access_denied&state=s", waiting.get());
}

TEST(LoopbackReceiverTest, APortInUseFailsWithAHint) {
    asio::io_context io;
    tcp::acceptor holder(io, {asio::ip::address_v4::loopback(), 0});
    const auto port = holder.local_endpoint().port();
    try {
        LoopbackReceiver::start(port, "/");
        FAIL() << "listened on a port in use";
    } catch (const OAuth2Error& error) {
        EXPECT_EQ(OAuth2Error::Kind::invalidConfig, error.kind());
        EXPECT_EQ("Couldn't listen on 127.0.0.1:" + std::to_string(port) +
                      " for the redirect (Address already in use). Is another app using the port?",
                  error.what());
    }
}

TEST(LoopbackReceiverTest, TimesOutAndIgnoresLaterRedirects) {
    const auto receiver = LoopbackReceiver::start(std::nullopt, "/");
    try {
        receiver->wait(50ms);
        FAIL() << "no time-out";
    } catch (const OAuth2Error& error) {
        EXPECT_EQ("Timed out waiting for the sign-in to finish.", std::string(error.what()));
    }
    EXPECT_TRUE(stopsListening(receiver->port()));
    EXPECT_THROW(receiver->wait(1s), OAuth2Error);
}

TEST(LoopbackReceiverTest, ACancellationEndsTheWait) {
    const auto receiver = LoopbackReceiver::start(std::nullopt, "/");
    std::atomic<bool> cancelled = false;
    auto waiting = std::async(std::launch::async, [&] { return receiver->wait(30s, [&] { return cancelled.load(); }); });
    cancelled = true;
    try {
        waiting.get();
        FAIL() << "not cancelled";
    } catch (const OAuth2Error& error) {
        EXPECT_EQ(OAuth2Error::Kind::cancelled, error.kind());
        EXPECT_EQ("Sign-in was cancelled.", std::string(error.what()));
    }
}

TEST(LoopbackReceiverTest, PagesSayWhatHappened) {
    const auto success = LoopbackReceiver::page(true);
    EXPECT_TRUE(success.starts_with("<!DOCTYPE html>"));
    EXPECT_NE(std::string::npos, success.find("<meta charset=\"utf-8\"><title>Signed in · Tessaline</title>"));
    EXPECT_TRUE(success.ends_with(
        "<h1>Signed in</h1><p>Tessaline has the authorization. You can close this tab and go back to the "
        "app.</p></main></body></html>"));
    const auto failure = LoopbackReceiver::page(false);
    EXPECT_NE(std::string::npos, failure.find("<title>Sign-in failed · Tessaline</title>"));
    EXPECT_TRUE(failure.ends_with(
        "<h1>Sign-in failed</h1><p>The server returned an error. Tessaline shows the details — you can close this "
        "tab.</p></main></body></html>"));
}

}  // namespace
}  // namespace tessaline
