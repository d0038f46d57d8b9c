#pragma once

#include "core/http/EventStreamParser.hpp"
#include "core/http/StreamFormat.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// Follows a streamed response body while it arrives, to tell when the send has heard enough
// of a stream that may stay open for ever: after a quiet spell with no event, or at the most
// events or bytes a send keeps. Its texts say why the send ended, and how many events came.
class StreamWatch {
public:
    using Clock = std::chrono::steady_clock;

    // The quiet spell after the last event (or the start of the body) that ends the send,
    // unless three quarters of the request's time-out are shorter: then those, so that the
    // quiet spell always comes before the time-out would fail the exchange.
    static constexpr std::chrono::milliseconds longestQuietSpell{5000};
    static constexpr std::size_t eventLimit = 1000;

    // `timeout`: the request's time-out; `now`: when the response's header block ended.
    StreamWatch(StreamFormat format, std::chrono::milliseconds timeout, Clock::time_point now);

    void receive(std::string_view bytes, Clock::time_point now);
    std::size_t events() const { return count; }

    // Why the send should end at `now` with `bodyBytes` of the body received: "The stream was
    // still open with no event for 5000 ms; the send ended there.", "The stream reached 1000
    // events, the most a send keeps; the send ended there." or "The stream reached 10485760
    // bytes, the most a send keeps; the send ended there."; none while it may go on.
    std::optional<std::string> closing(Clock::time_point now, std::uint64_t bodyBytes) const;
    // The server closed the stream, whole ("The server ended the stream after 5 events.") or
    // `broken` off ("The connection broke off after 5 events, before the stream's end."). An
    // event under way counts.
    std::string ended(bool broken);
    // "The stream was still open after 240000 ms, four times the request's time-out; the send
    // ended there."
    std::string overran() const;
    // "The send was cancelled after 5 events; the stream was closed there."
    std::string cancelled() const;

private:
    EventStreamParser parser;
    std::chrono::milliseconds idle;
    std::chrono::milliseconds quietSpell;
    Clock::time_point lastEvent;
    std::size_t count = 0;
};

}  // namespace tessaline
