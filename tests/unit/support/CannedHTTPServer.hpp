#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessaline {

// A TCP server on 127.0.0.1 at a free port that answers every connection with the same bytes,
// written as given once the request has arrived (its header block and as many bytes as its
// "Content-Length: " line announces), then closes it: for answers
// an HTTP library would not produce, such as interim responses with fields, and for seeing
// the exact bytes of a request's header block. With a pause, the answer's body trickles out a
// byte at a time after its header block, for as long as the client reads it.
class CannedHTTPServer {
public:
    explicit CannedHTTPServer(std::string answer, std::chrono::milliseconds pause = {})
        : reply(std::move(answer)), byteDelay(pause) {
        listener = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(listener, reinterpret_cast<sockaddr*>(&address), length);
        ::listen(listener, 8);
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
        port = ntohs(address.sin_port);
        thread = std::thread([this] { serve(); });
    }

    CannedHTTPServer(const CannedHTTPServer&) = delete;
    CannedHTTPServer& operator=(const CannedHTTPServer&) = delete;

    ~CannedHTTPServer() {
        ::shutdown(listener, SHUT_RDWR);  // wakes accept()
        thread.join();
        ::close(listener);
    }

    std::string url(std::string_view path = "/") const {
        return "http://127.0.0.1:" + std::to_string(port) + std::string(path);
    }

    // The last request received, header block and body.
    std::string lastRequest() const {
        const std::lock_guard lock(mutex);
        return received;
    }

private:
    void serve() {
        while (true) {
            const int connection = ::accept(listener, nullptr, nullptr);
            if (connection < 0) return;
            std::string request;
            char buffer[65536];
            while (!complete(request)) {
                const auto count = ::read(connection, buffer, sizeof buffer);
                if (count <= 0) break;
                request.append(buffer, static_cast<std::size_t>(count));
            }
            {
                const std::lock_guard lock(mutex);
                received = request;
            }
            const auto headEnd = byteDelay.count() > 0 ? reply.find("\r\n\r\n") + 4 : reply.size();
            if (write(connection, std::string_view(reply).substr(0, headEnd))) {
                for (std::size_t next = headEnd; next < reply.size(); ++next) {
                    std::this_thread::sleep_for(byteDelay);
                    if (!write(connection, std::string_view(reply).substr(next, 1))) break;
                }
            }
            ::close(connection);
        }
    }

    static bool write(int connection, std::string_view rest) {
        while (!rest.empty()) {
            const auto count = ::send(connection, rest.data(), rest.size(), MSG_NOSIGNAL);
            if (count <= 0) return false;
            rest.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }

    static bool complete(const std::string& request) {
        const auto end = request.find("\r\n\r\n");
        if (end == std::string::npos) return false;
        const auto length = request.find("Content-Length: ");
        if (length == std::string::npos || length > end) return true;
        return request.size() >= end + 4 + std::stoul(request.substr(length + 16));
    }

    std::string reply;
    std::chrono::milliseconds byteDelay;
    mutable std::mutex mutex;
    std::string received;
    int listener = -1;
    unsigned short port = 0;
    std::thread thread;
};

}  // namespace tessaline
