// Time from cancelling a running exchange to its peer seeing the connection close (goal
// <= 100 ms). A peer on 127.0.0.1 sends a header block that promises a large body, then, at a
// random moment in the next 100 ms, sets the cancel flag itself and times how long its read of
// the connection takes to end. The mean and the slowest of the runs are printed.
#include "core/http/CurlEngine.hpp"

#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <random>
#include <string>
#include <thread>

namespace tessaline {
namespace {

using std::chrono::steady_clock;

class CancellingPeer {
public:
    CancellingPeer() {
        sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
        socklen_t length = sizeof address;
        ::bind(listener, reinterpret_cast<sockaddr*>(&address), length);
        ::listen(listener, 8);
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
        url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
    }
    ~CancellingPeer() { ::close(listener); }

    // Serves one exchange, cancels it and returns the time its connection took to close.
    std::chrono::duration<double> serveAndCancel(std::atomic<bool>& cancelled) {
        const int connection = ::accept(listener, nullptr, nullptr);
        char buffer[4096];
        std::string request;
        while (request.find("\r\n\r\n") == std::string::npos) {
            const ssize_t count = ::read(connection, buffer, sizeof buffer);
            if (count <= 0) break;
            request.append(buffer, static_cast<std::size_t>(count));
        }
        const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\nx";
        ::send(connection, head.data(), head.size(), MSG_NOSIGNAL);
        std::this_thread::sleep_for(std::chrono::milliseconds(delay(random)));
        const auto start = steady_clock::now();
        cancelled = true;
        while (::read(connection, buffer, sizeof buffer) > 0) {
        }
        const auto closed = steady_clock::now();
        ::close(connection);
        return closed - start;
    }

    std::string url;

private:
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    std::minstd_rand random{42};
    std::uniform_int_distribution<int> delay{0, 100};
};

void cancelToClose(benchmark::State& state) {
    CancellingPeer peer;
    CurlEngine engine;
    double slowest = 0;
    for (auto _ : state) {
        std::atomic<bool> cancelled = false;
        std::chrono::duration<double> closing{};
        std::thread server([&peer, &cancelled, &closing] { closing = peer.serveAndCancel(cancelled); });
        benchmark::DoNotOptimize(engine.perform({.url = peer.url}, {.cancelled = &cancelled}));
        server.join();
        state.SetIterationTime(closing.count());
        slowest = std::max(slowest, closing.count());
    }
    state.counters["slowest_ms"] = slowest * 1000;
}
BENCHMARK(cancelToClose)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(40);

}  // namespace
}  // namespace tessaline

BENCHMARK_MAIN();
