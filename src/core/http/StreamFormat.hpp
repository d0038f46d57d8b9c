#pragma once

#include <optional>
#include <string_view>

namespace tessaline {

// How a streamed response body is cut into events.
enum class StreamFormat {
    serverSentEvents,  // text/event-stream: blocks of "field: value" lines ended by a blank line
    jsonLines,  // application/x-ndjson, application/jsonl: one JSON value per line
    jsonSequence,  // application/json-seq: each JSON value led by a record separator (0x1E)
};

// The format named by a Content-Type value (its parameters and ASCII case aside); none for
// a type that does not stream.
std::optional<StreamFormat> streamFormat(std::string_view contentType);

}  // namespace tessaline
