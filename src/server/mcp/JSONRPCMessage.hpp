#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// The members of a JSON-RPC message that the server reads, taken from one input line in one
// pass of the strict JSON grammar (RFC 8259). The envelope is kept as source text rather than
// as a tree, so that an id is echoed as it was written (a number no double holds, -0 and 1e999
// included); only an object of params becomes a tree, and only while it holds at most
// paramsValueLimit values, so that however a line nests it costs little beyond its own bytes.
struct JSONRPCMessage {
    // How many values params may hold, however they nest, to be built as a tree; a tool's
    // arguments are a few dozen, and a tree takes far more memory than its text.
    static constexpr std::size_t paramsValueLimit = 100000;

    // The id's text with the whitespace between its tokens removed; empty when there is none.
    std::string id;
    // The method when it is a text, else empty.
    std::string method;
    // The params of a tools/call or an initialize when they are an object of at most
    // paramsValueLimit values whose numbers all fit a double, else null.
    nlohmann::json params;
    // How many values "params" holds, itself and those in its containers at any depth.
    std::size_t paramsValues = 0;
    // The text of the first number in params beyond a double's range, when there is one.
    std::string paramsNumberOutOfRange;
    // The texts of params.requestId and params._meta.progressToken, written as the id is;
    // empty when absent.
    std::string requestId;
    std::string progressToken;
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
};

}  // namespace tessaline
