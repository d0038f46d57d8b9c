#pragma once

#include <httplib.h>

#include <string>
#include <string_view>
#include <thread>

namespace tessaline {

// An HTTP server on 127.0.0.1 at a free port, serving from its own thread from start() until
// it is destroyed. Register routes on `http` before start().
class LocalHTTPServer {
public:
    LocalHTTPServer() = default;
    LocalHTTPServer(const LocalHTTPServer&) = delete;
    LocalHTTPServer& operator=(const LocalHTTPServer&) = delete;

    ~LocalHTTPServer() {
        if (!thread_.joinable()) return;
        http.stop();
        thread_.join();
    }

    // Connections wait in the listening socket's queue until the thread serves them, so the
    // server is usable as soon as this returns.
    void start() {
        port_ = http.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { http.listen_after_bind(); });
    }

    std::string url(std::string_view path = "/") const {
        return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
    }

    httplib::Server http;

private:
    int port_ = 0;
    std::thread thread_;
};

}  // namespace tessaline
