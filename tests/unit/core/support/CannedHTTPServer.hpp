#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessaline {

// A TCP server on 127.0.0.1 at a free port that answers every connection with the same bytes,
// written as given once the request has arrived (its header block and as many bytes as its
// "Content-Length: " line announces), then closes it: for answers an HTTP library would not
// produce, such as interim responses with fields, and for seeing the exact bytes of a
// request's header block. With a pause, the answer goes out in pieces with the pause before
// each but the first: its header block whole and then its body a byte at a time, or the
// pieces as given. A client that closes the connection before the last piece ends the answer
// there, and the server notes it.
class CannedHTTPServer {
public:
    explicit CannedHTTPServer(const std::string& answer, std::chrono::milliseconds pause = {})
        : CannedHTTPServer(pause.count() > 0 ? headThenBytes(answer) : std::vector{answer}, pause) {}

    CannedHTTPServer(std::vector<std::string> pieces, std::chrono::milliseconds pause) : reply(std::move(pieces)), delay(pause) {
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

    int connections() const {
        const std::lock_guard lock(mutex);
        return accepted;
    }

    // Waits until a client has closed a connection before the answer's last piece went out,
    // for at most ten seconds; whether one has.
    bool waitForEarlyClose() const {
        std::unique_lock lock(mutex);
        return closedEarly.wait_for(lock, std::chrono::seconds(10), [this] { return earlyCloses > 0; });
    }

    // An answer as pieces: its header block whole, then its body a byte at a time.
    static std::vector<std::string> headThenBytes(const std::string& answer) {
        const auto headEnd = answer.find("\r\n\r\n") + 4;
        std::vector<std::string> pieces{answer.substr(0, headEnd)};
        for (auto next = headEnd; next < answer.size(); ++next) pieces.push_back(answer.substr(next, 1));
        return pieces;
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
                ++accepted;
            }
            bool open = write(connection, reply.front());
            for (auto piece = reply.begin() + 1; open && piece != reply.end(); ++piece) {
                open = staysOpen(connection) && write(connection, *piece);
            }
            if (!open) {
                const std::lock_guard lock(mutex);
                ++earlyCloses;
                closedEarly.notify_all();
            }
        }
    }

    // Waits out the pause; false as soon as the client closes the connection.
    bool staysOpen(int connection) const {
        const auto end = std::chrono::steady_clock::now() + delay;
        for (auto now = std::chrono::steady_clock::now(); now < end; now = std::chrono::steady_clock::now()) {
            pollfd watched{.fd = connection, .events = POLLIN, .revents = 0};
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
            if (::poll(&watched, 1, static_cast<int>(left.count())) <= 0) continue;
            char byte;
            if (::recv(connection, &byte, 1, 0) <= 0) return false;
        }
        return true;
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

    const std::vector<std::string> reply;
    const std::chrono::milliseconds delay;
    mutable std::mutex mutex;
    mutable std::condition_variable closedEarly;
    std::string received;
    int accepted = 0;
    int earlyCloses = 0;
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    unsigned short port = 0;
    std::thread thread;
};

}  // namespace tessaline
