#include "oauth/LoopbackReceiver.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

#include <future>

namespace tessaline {
namespace {

using asio::ip::tcp;
using namespace std::chrono_literals;

// Sends raw bytes to the receiver and returns all it answers.
std::string sendRaw(std::uint16_t port, const std::string& request) {
    tcp::iostream stream("127.0.0.1", std::to_string(port));
    stream << request << std::flush;
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string get(std::uint16_t port, const std::string& target) {
    return sendRaw(port, "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
}

std::string reply(std::string_view status, const std::string& body) {
    return "HTTP/1.1 " + std::string(status) + "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n" + body;
}

// The wait ends when the redirect comes, and one that reports an error gets the failure page.
TEST(LoopbackReceiverTest, StrayRequestsAreTurnedAwayAndTheRedirectIsTheOutcome) {
    const auto receiver = LoopbackReceiver::start(std::nullopt, "/callback");
    const auto port = receiver->port();
    auto waiting = std::async(std::launch::async, [&] { return receiver->wait(5s); });
    EXPECT_EQ(reply("404 Not Found", "Not found"), get(port, "/favicon.ico"));
    EXPECT_EQ(reply("404 Not Found", "Not found"), get(port, "/callback/extra?code=x"));
    EXPECT_EQ(reply("400 Bad Request", "Bad request"), sendRaw(port, "GARBAGE\r\n\r\n"));
    EXPECT_EQ(reply("400 Bad Request", "Bad request"), sendRaw(port, "\r\n"));
    EXPECT_EQ(reply("200 OK", LoopbackReceiver::page(false)), get(port, "/callback?error=access_denied&state=s"));
    EXPECT_EQ("http://127.0.0.1:" + std::to_string(port) + "/callback?error=access_denied&state=s", waiting.get());
    EXPECT_NE(LoopbackReceiver::page(false), LoopbackReceiver::page(true));
}

// The first outcome stays, whatever comes later; a port in use is refused with a hint.
TEST(LoopbackReceiverTest, TheWaitEndsWithATimeOutOrACancellation) {
    const auto receiver = LoopbackReceiver::start(std::nullopt, "/");
    EXPECT_EQ("Couldn't listen on 127.0.0.1:" + std::to_string(receiver->port()) +
                  " for the redirect (Address already in use). Is another app using the port?",
              thrownText<OAuth2Error>([&] { LoopbackReceiver::start(receiver->port(), "/"); }));
    EXPECT_EQ("Timed out waiting for the sign-in to finish.", thrownText<OAuth2Error>([&] { receiver->wait(50ms); }));
    EXPECT_EQ("Timed out waiting for the sign-in to finish.", thrownText<OAuth2Error>([&] { receiver->wait(1s, [] { return true; }); }));

    const auto cancelled = LoopbackReceiver::start(std::nullopt, "/");
    EXPECT_EQ("Sign-in was cancelled.", thrownText<OAuth2Error>([&] { cancelled->wait(30s, [] { return true; }); }));
}

}  // namespace
}  // namespace tessaline
