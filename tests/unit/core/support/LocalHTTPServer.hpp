#pragma once

#include <httplib.h>

#include <atomic>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>

namespace tessaline {

// An HTTP server on 127.0.0.1 at a free port, serving from its own thread from start() until
// it is destroyed. Register routes on `http` before start(). Each connection serves one
// request and is closed, so that stopping never waits out the idle connection a client keeps
// for reuse; tests of reuse raise `http.set_keep_alive_max_count`. LocalHTTPSServer serves over TLS
// with the test certificate of tests/data/tls, issued to 127.0.0.1 by the CA in ca.pem there.
template <class Server>
class BasicLocalHTTPServer {
public:
    template <class... Arguments>
    explicit BasicLocalHTTPServer(Arguments&&... arguments) : http(std::forward<Arguments>(arguments)...) {
        http.set_keep_alive_max_count(1);
    }
    BasicLocalHTTPServer(const BasicLocalHTTPServer&) = delete;
    BasicLocalHTTPServer& operator=(const BasicLocalHTTPServer&) = delete;

    ~BasicLocalHTTPServer() {
        if (!thread.joinable()) return;
        // Before the thread listens, stop() does nothing and the thread would listen for ever.
        while (!http.is_running() && !finished) std::this_thread::yield();
        http.stop();
        thread.join();
    }

    // Connections wait in the listening socket's queue until the thread serves them, so the
    // server is usable as soon as this returns.
    void start() {
        port = http.bind_to_any_port("127.0.0.1");
        thread = std::thread([this] {
            http.listen_after_bind();
            finished = true;
        });
    }

    std::string url(std::string_view path = "/") const {
        return std::string(std::is_same_v<Server, httplib::SSLServer> ? "https" : "http") +
               "://127.0.0.1:" + std::to_string(port) + std::string(path);
    }

    Server http;

private:
    int port = 0;
    std::atomic<bool> finished = false;
    std::thread thread;
};

using LocalHTTPServer = BasicLocalHTTPServer<httplib::Server>;

class LocalHTTPSServer : public BasicLocalHTTPServer<httplib::SSLServer> {
public:
    LocalHTTPSServer()
        : BasicLocalHTTPServer(TESSALINE_TEST_DATA "/tls/server.pem", TESSALINE_TEST_DATA "/tls/server.key") {}
};

}  // namespace tessaline
