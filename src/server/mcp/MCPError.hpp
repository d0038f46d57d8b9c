#pragma once

#include "core/support/Error.hpp"

namespace tessaline {

// A failure that reaches the host as a JSON-RPC error: an unknown method or tool, a missing
// tool name, a line the server does not read. Its description is the message itself. A tool
// that fails throws ToolError instead, which becomes a tool result.
class MCPError : public Error {
public:
    static constexpr int parseError = -32700;
    static constexpr int invalidRequest = -32600;
    static constexpr int methodNotFound = -32601;
    static constexpr int invalidParams = -32602;
    static constexpr int serverError = -32000;

    MCPError(int code, const std::string& message) : Error(message), errorCode(code) {}

    static MCPError unknownMethod(const std::string& method) {
        return {methodNotFound, "Method not found: " + method};
    }
    static MCPError unknownTool(const std::string& name) { return {methodNotFound, "Unknown tool: " + name}; }
    static MCPError missingToolName() { return {invalidParams, "Missing tool name"}; }
    static MCPError lineTooLong(std::size_t limit) {
        return {invalidRequest, "Invalid Request: the line is longer than " + std::to_string(limit) + " bytes"};
    }
    static MCPError tooManyParams(std::size_t limit) {
        return {invalidParams, "Invalid params: more than " + std::to_string(limit) + " values"};
    }
    static MCPError numberOutOfRange(std::string_view number) {
        return {invalidParams, "Invalid params: the number " + std::string(number) + " is beyond the range of a double"};
    }

    int code() const { return errorCode; }
    std::string message() const { return what(); }

private:
    int errorCode;
};

}  // namespace tessaline
