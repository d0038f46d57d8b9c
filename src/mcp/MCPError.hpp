#pragma once

#include "support/Error.hpp"

namespace tessaline {

// A failure with a JSON-RPC error code. Its description is the message itself. Only
// unknown methods and tools, and a missing tool name, reach the host as JSON-RPC errors;
// every other MCPError raised by a tool handler becomes a tool result with isError.
class MCPError : public Error {
public:
    static constexpr int parseError = -32700;
    static constexpr int methodNotFound = -32601;
    static constexpr int invalidParams = -32602;
    static constexpr int serverError = -32000;

    MCPError(int code, const std::string& message) : Error(message), code_(code) {}

    static MCPError unknownMethod(const std::string& method) {
        return {methodNotFound, "Method not found: " + method};
    }
    static MCPError unknownTool(const std::string& name) { return {methodNotFound, "Unknown tool: " + name}; }
    static MCPError invalid(const std::string& message) { return {invalidParams, message}; }

    int code() const { return code_; }
    std::string message() const { return what(); }

private:
    int code_;
};

}  // namespace tessaline
