#pragma once

#include "core/oauth/OAuth2Error.hpp"

#include <asio.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <variant>

namespace tessaline {

// A one-shot HTTP listener on 127.0.0.1 that catches the browser's redirect at the end of a
// sign-in. A request for the redirect's path is answered with a small page ("Signed in", or
// "Sign-in failed" when it carries `error`) and becomes the outcome; a request for another
// path gets a 404 and one that cannot be read a 400, and the sign-in goes on. The first
// outcome wins and stops the listener; so does destruction. Connections are served on one
// background thread.
class LoopbackReceiver {
public:
    using Seconds = std::chrono::duration<double>;

    // The most of a request head that is read; a redirect's head is far smaller.
    static constexpr std::size_t maximumHeadSize = 16 * 1024;

    // Listens on 127.0.0.1 at the port (any free port when absent) for requests to `path`,
    // and returns once listening. Throws OAuth2Error::invalidConfig when it cannot.
    static std::unique_ptr<LoopbackReceiver> start(std::optional<std::uint16_t> port, std::string path);

    LoopbackReceiver(const LoopbackReceiver&) = delete;
    LoopbackReceiver& operator=(const LoopbackReceiver&) = delete;
    ~LoopbackReceiver();

    // The port actually listened on.
    std::uint16_t port() const { return boundPort; }

    // The redirect's URL, "http://127.0.0.1:<port><target>", as soon as it has come (at once if
    // it came before the call). Throws OAuth2Error::timedOut after `timeout`, and
    // OAuth2Error::cancelled once `isCancelled`, checked every quarter of a second, says so.
    std::string wait(Seconds timeout, const std::function<bool()>& isCancelled = {});

    // The page a redirect is answered with.
    static std::string page(bool success);

private:
    using Outcome = std::variant<std::string, OAuth2Error>;

    explicit LoopbackReceiver(std::string path);

    void listen(std::optional<std::uint16_t> port);
    void accept();
    void receive(std::shared_ptr<asio::ip::tcp::socket> socket);
    void respond(const std::shared_ptr<asio::ip::tcp::socket>& socket, std::string_view head);
    void reply(const std::shared_ptr<asio::ip::tcp::socket>& socket, std::string_view status, std::string_view body);
    void finish(Outcome outcome);

    const std::string callbackPath;
    std::uint16_t boundPort = 0;
    asio::io_context io;
    asio::ip::tcp::acceptor acceptor{io};
    std::thread thread;

    std::mutex lock;
    std::condition_variable arrived;
    std::optional<Outcome> result;
};

}  // namespace tessaline
