#include "core/oauth/LoopbackReceiver.hpp"

#include "core/oauth/RedirectParameters.hpp"
#include "core/support/Overloaded.hpp"
#include "core/support/Utf8.hpp"

#include <algorithm>
#include <array>
#include <vector>

namespace tessaline {
namespace {

using asio::ip::tcp;

constexpr auto pollSlice = std::chrono::milliseconds(250);

std::string requestedPort(std::optional<std::uint16_t> port) { return std::to_string(port.value_or(0)); }

// The first line of the head split at runs of blanks into at most three parts.
std::vector<std::string_view> requestLineParts(std::string_view head) {
    auto line = head.substr(0, head.find_first_of("\r\n"));
    std::vector<std::string_view> parts;
    while (parts.size() < 3) {
        const auto start = line.find_first_not_of(' ');
        if (start == std::string_view::npos) break;
        line.remove_prefix(start);
        const auto end = parts.size() == 2 ? std::string_view::npos : line.find(' ');
        parts.push_back(line.substr(0, end));
        line = end == std::string_view::npos ? std::string_view() : line.substr(end);
    }
    return parts;
}

}  // namespace

LoopbackReceiver::LoopbackReceiver(std::string path) : callbackPath(std::move(path)) {}

LoopbackReceiver::~LoopbackReceiver() {
    io.stop();
    if (thread.joinable()) thread.join();
}

std::unique_ptr<LoopbackReceiver> LoopbackReceiver::start(std::optional<std::uint16_t> port, std::string path) {
    std::unique_ptr<LoopbackReceiver> receiver(new LoopbackReceiver(std::move(path)));
    receiver->listen(port);
    receiver->accept();
    receiver->thread = std::thread([raw = receiver.get()] { raw->io.run(); });
    return receiver;
}

void LoopbackReceiver::listen(std::optional<std::uint16_t> port) {
    asio::error_code error;
    acceptor.open(tcp::v4(), error);
    if (error) {
        throw OAuth2Error::invalidConfig("Couldn't listen on 127.0.0.1:" + requestedPort(port) +
                                         " for the redirect: " + error.message());
    }
    acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (!error) acceptor.bind(tcp::endpoint(asio::ip::address_v4::loopback(), port.value_or(0)), error);
    if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (!error) boundPort = acceptor.local_endpoint(error).port();
    if (error) {
        throw OAuth2Error::invalidConfig("Couldn't listen on 127.0.0.1:" + requestedPort(port) + " for the redirect (" +
                                         error.message() + "). Is another app using the port?");
    }
}

void LoopbackReceiver::accept() {
    acceptor.async_accept([this](asio::error_code error, tcp::socket socket) {
        if (!acceptor.is_open()) return;
        if (!error) receive(std::make_shared<tcp::socket>(std::move(socket)));
        accept();
    });
}

void LoopbackReceiver::receive(std::shared_ptr<tcp::socket> socket) {
    auto buffer = std::make_shared<std::array<char, maximumHeadSize>>();
    socket->async_read_some(asio::buffer(*buffer), [this, socket, buffer](asio::error_code error, std::size_t count) {
        respond(socket, error ? std::string_view() : std::string_view(buffer->data(), count));
    });
}

void LoopbackReceiver::respond(const std::shared_ptr<tcp::socket>& socket, std::string_view head) {
    const auto text = utf8::repaired(head);
    const auto parts = requestLineParts(text);
    if (parts.size() < 2) return reply(socket, "400 Bad Request", "Bad request");
    const auto target = parts[1];
    if (target.substr(0, target.find('?')) != callbackPath) return reply(socket, "404 Not Found", "Not found");

    auto url = "http://127.0.0.1:" + std::to_string(boundPort) + std::string(target);
    reply(socket, "200 OK", page(!redirectParameters(url).contains("error")));
    finish(std::move(url));
}

void LoopbackReceiver::reply(const std::shared_ptr<tcp::socket>& socket, std::string_view status,
                             std::string_view body) {
    auto message = std::make_shared<std::string>("HTTP/1.1 " + std::string(status) +
                                                 "\r\n"
                                                 "Content-Type: text/html; charset=utf-8\r\n"
                                                 "Content-Length: " +
                                                 std::to_string(body.size()) +
                                                 "\r\n"
                                                 "Connection: close\r\n"
                                                 "Cache-Control: no-store\r\n"
                                                 "\r\n" +
                                                 std::string(body));
    asio::async_write(*socket, asio::buffer(*message), [socket, message](asio::error_code, std::size_t) {
        asio::error_code ignored;
        socket->shutdown(tcp::socket::shutdown_both, ignored);
        socket->close(ignored);
    });
}

void LoopbackReceiver::finish(Outcome outcome) {
    {
        const std::lock_guard guard(lock);
        if (result) return;
        result = std::move(outcome);
    }
    arrived.notify_all();
    asio::post(io, [this] {
        asio::error_code ignored;
        acceptor.close(ignored);
    });
}

std::string LoopbackReceiver::wait(Seconds timeout, const std::function<bool()>& isCancelled) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::nanoseconds>(timeout);
    std::unique_lock guard(lock);
    while (!result) {
        const auto now = std::chrono::steady_clock::now();
        const bool cancelled = isCancelled && isCancelled();
        if (cancelled || now >= deadline) {
            guard.unlock();
            finish(cancelled ? OAuth2Error::cancelled() : OAuth2Error::timedOut());
            guard.lock();
            continue;
        }
        arrived.wait_until(guard, std::min(deadline, now + pollSlice));
    }
    return std::visit(Overloaded{
                          [](const std::string& url) { return url; },
                          [](const OAuth2Error& error) -> std::string { throw error; },
                      },
                      *result);
}

std::string LoopbackReceiver::page(bool success) {
    const std::string heading = success ? "Signed in" : "Sign-in failed";
    const std::string message =
        success ? "Tessaline has the authorization. You can close this tab and go back to the app."
                : "The server returned an error. Tessaline shows the details — you can close this tab.";
    return "<!DOCTYPE html>\n"
           "<html><head><meta charset=\"utf-8\"><title>" +
           heading +
           " · Tessaline</title>"
           "<style>"
           "body{margin:0;background:#0d0f1b;color:#e8e9f3;font:16px -apple-system,system-ui,sans-serif}"
           "main{max-width:420px;margin:15vh auto 0;padding:0 24px}"
           "h1{font-size:22px}"
           "p{color:#a3a6bf;line-height:1.5}"
           "</style></head>"
           "<body><main><h1>" +
           heading + "</h1><p>" + message + "</p></main></body></html>";
}

}  // namespace tessaline
