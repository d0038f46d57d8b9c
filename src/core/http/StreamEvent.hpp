#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessaline {

// One event of a streamed response body: a server-sent event, or one record of a
// line-delimited or record-separated JSON stream.
struct StreamEvent {
    // Server-sent events only: the "event" field ("message" when the block had none), the
    // last "id" the stream gave so far (kept from event to event, as a browser keeps it), and
    // the last "retry" given since the event before.
    std::string type{};
    std::string id{};
    std::optional<std::uint64_t> retry{};
    // The event's "data" lines joined with line feeds, or the record's text without the white
    // space around it; at most EventStreamParser::dataLimit bytes of it.
    std::string data{};
    std::uint64_t dataBytes = 0;  // the data's size before any cut
    // False for a server-sent event whose blank line never came: the stream ended first.
    bool complete = true;

    bool operator==(const StreamEvent&) const = default;
};

}  // namespace tessaline
