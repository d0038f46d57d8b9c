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
// "Content-Length: " line announces), then closes it: for answers an HTTP library would not
// produce, such as interim responses with fields, and for seeing the exact bytes of a
// request's header block. With a pause, the answer's body trickles out a byte at a time after
// its header block, for as long as the client reads it.
class CannedHTTPServer {
public:
    explicit CannedHTTPServer(std::string answer, std::chrono::milliseconds pause = {}) : reply(std::move(answer)), byteDelay(pause) {
        sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
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

    std::string url(std::string_view path = "/") const { return "http://127.0.0.1:" + std::to_string(port) + std::string(path); }

    // The last request received, header block and body.
    std::string lastRequest() const {
        const std::lock_guard lock(mutex);
        return received;
    }

private:
    void serve() {
        for (int connection; (connection = ::accept(listener, nullptr, nullptr)) >= 0; ::close(connection)) {
            std::string request;
            char buffer[65536];
            for (ssize_t count; !complete(request) && (count = ::read(connection, buffer, sizeof buffer)) > 0;) request.append(buffer, count);
            {
                const std::lock_guard lock(mutex);
                received = request;
            }
            const std::string_view answer(reply);
            const auto headEnd = byteDelay.count() > 0 ? answer.find("\r\n\r\n") + 4 : answer.size();
            bool open = write(connection, answer.substr(0, headEnd));
            for (auto next = headEnd; open && next < answer.size(); ++next) {
                std::this_thread::sleep_for(byteDelay);
                open = write(connection, answer.substr(next, 1));
            }
        }
    }

    static bool write(int connection, std::string_view rest) {
        for (ssize_t count; !rest.empty(); rest.remove_prefix(static_cast<std::size_t>(count))) {
            if ((count = ::send(connection, rest.data(), rest.size(), MSG_NOSIGNAL)) <= 0) return false;
        }
        return true;
    }

    static bool complete(const std::string& request) {
        const auto end = request.find("\r\n\r\n");
        if (end == std::string::npos) return false;
        const auto length = request.find("Content-Length: ");
        return length == std::string::npos || length > end || request.size() >= end + 4 + std::stoul(request.substr(length + 16));
    }

    const std::string reply;
    const std::chrono::milliseconds byteDelay;
    mutable std::mutex mutex;
    std::string received;
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    unsigned short port = 0;
    std::thread thread;
};

}  // namespace tessaline
