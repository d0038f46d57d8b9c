#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// The members of a JSON-RPC message that the server reads, taken from one input line as their
// source text instead of as a tree. The line is checked as strict JSON (RFC 8259) in one pass
// whose only memory is a bit for each open container, so however a line nests it costs little
// beyond its own bytes, and an id is echoed as it was written: a number no double holds, -0
// and 1e999 included.
struct JSONRPCMessage {
    // The id's text with the whitespace between its tokens removed; empty when there is none.
    std::string id;
    // The method when it is a text, else empty.
    std::string method;
    // The source text of "params" (a view into the line); empty when absent.
    std::string_view params;
    // How many values "params" holds, itself and those in its containers at any depth.
    std::size_t paramsValues = 0;
    // Whether there is a "method" member, of any type.
    bool hasMethod = false;
    // Whether there is a "result" or an "error" member.
    bool hasOutcome = false;

    // Nothing when the line is not one JSON object. A member that repeats counts by its last value.
    static std::optional<JSONRPCMessage> read(std::string_view line);

    // Without an id, or with a null one, a message is a notification and gets no reply.
    bool isNotification() const { return id.empty() || id == "null"; }
    // A host's answer to a request the server sent: an id, a result or an error, no method.
    bool isResponse() const { return !hasMethod && hasOutcome && !isNotification(); }

    // The source text of the member `name` of `object` (a value read() took apart, such as
    // `params`), whitespace between its tokens removed as for an id; empty when there is none.
    static std::string memberText(std::string_view object, std::string_view name);
    // The member's text when it is a JSON string.
    static std::optional<std::string> memberString(std::string_view object, std::string_view name);
};

}  // namespace tessaline
