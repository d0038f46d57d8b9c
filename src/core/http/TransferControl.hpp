#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace tessaline {

// How far a running exchange has got.
struct TransferProgress {
    bool responding = false;  // whether the first byte of a response has arrived
    std::uint64_t received = 0;  // decoded body bytes of the final response so far
    // The body's length as its Content-Length announced it; none when the response announced
    // none, or when its body is encoded (Content-Encoding), as the announced length then
    // counts encoded bytes, not the decoded ones of `received`.
    std::optional<std::uint64_t> total{};
    // For a streamed response (see StreamFormat), its events so far.
    std::optional<std::size_t> events{};

    bool operator==(const TransferProgress&) const = default;
};

// What the caller of a running exchange may do to it, from any thread. All are optional.
struct TransferControl {
    // Once set, the exchange is aborted within 100 ms (its connection closed) and fails with
    // CurlEasy::cancelledText; an exchange that has not started yet never connects.
    const std::atomic<bool>* cancelled = nullptr;
    // Called on the exchange's thread, at least every 100 ms while the exchange runs, with how
    // far it has got. It must return quickly and must not throw.
    std::function<void(const TransferProgress&)> progress{};
    // A descriptor the exchange watches while it waits for the network: once it is readable
    // (or closed), `watchedReady` is called on the exchange's thread, once, and the watch ends.
    // It lets the thread that reads a program's input run an exchange without another thread
    // standing by, until more input arrives.
    int watched = -1;
    std::function<void()> watchedReady{};
};

}  // namespace tessaline
