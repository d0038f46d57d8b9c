#pragma once

#include "core/http/StreamEvent.hpp"
#include "core/http/StreamFormat.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

// Cuts a streamed response body into events as its bytes arrive, in pieces of any size:
// the events are the same wherever the pieces split the body.
//
// Server-sent events follow the parsing rules of the HTML standard: a leading byte order mark
// is dropped; lines end with CR LF, LF or CR; a line starting with ":" is a comment; a line
// without a colon is a field with an empty value; one space after the colon is dropped;
// "event", "data", "id" (unless it holds a NUL) and "retry" (ASCII digits only) are the
// fields, others are ignored; a blank line ends an event, which counts only when it had a
// "data" line. Unlike a browser, which drops it, an event the stream ends inside is kept and
// marked incomplete. Line-delimited JSON gives one record per line that is not blank; a
// JSON text sequence one record per stretch between record separators that is not blank.
class EventStreamParser {
public:
    // An event's data is kept up to this size; the rest is counted.
    static constexpr std::size_t dataLimit = 64 << 10;

    explicit EventStreamParser(StreamFormat kind) : format(kind) {}

    // Takes in the next bytes of the body.
    void feed(std::string_view bytes);
    // The body has ended: the line under way ends, and so does an event under way.
    void finish();
    // The events completed since the last call, in order.
    std::vector<StreamEvent> take();

private:
    std::string_view withoutByteOrderMark(std::string_view bytes);
    void split(std::string_view bytes);
    void endLine();
    void endField(std::string_view text, std::uint64_t bytes);
    void appendData(std::string_view value, std::uint64_t valueBytes);
    void dispatch(bool complete);

    StreamFormat format;
    bool started = false;  // past the place of a byte order mark
    std::string held;  // the start of a byte order mark, while it may still be one
    bool afterCarriageReturn = false;  // a line feed now belongs to the line end before
    std::string line;  // the kept part of the line under way
    std::uint64_t lineBytes = 0;
    // The event under way.
    std::string type;
    StreamEvent pending;
    std::size_t dataLines = 0;
    std::string lastID;
    std::vector<StreamEvent> ready;
};

}  // namespace tessaline
