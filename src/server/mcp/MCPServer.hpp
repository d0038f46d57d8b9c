#pragma once

#include "core/oauth/OAuth2Service.hpp"
#include "core/oauth/SignInRegistry.hpp"
#include "core/storage/WorkspaceStore.hpp"
#include "server/mcp/CallContext.hpp"
#include "server/mcp/JSONRPCMessage.hpp"

#include <nlohmann/json.hpp>

#include <atomic>
#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// Turns one line of input into at most one line of output: JSON-RPC 2.0 as the Model
// Context Protocol's stdio transport speaks it. Requests get exactly one reply; messages
// without an id (or with a null id) are notifications and get none. handle() and reply()
// never throw: every failure becomes a reply. The server owns the OAuth 2 service its tools
// obtain tokens from, and the sign-ins they start.
class MCPServer {
public:
    static constexpr std::string_view protocolVersion = "2025-06-18";
    static constexpr std::string_view serverName = "tessaline";
    // The longest input line read, in bytes; a longer one is answered with lineTooLong().
    static constexpr std::size_t lineLengthLimit = 64 << 20;
    // How many values the params of tools/call may hold, however they nest.
    static constexpr std::size_t paramsValueLimit = JSONRPCMessage::paramsValueLimit;

    explicit MCPServer(WorkspaceStore& store);

    // Ends the sign-ins that wait for a person, and those started later at once, for when the
    // input ends: the calls that wait for them then answer.
    void endSignIns() { signIns.close(); }

    // The whole handling of one line on this thread, sends included: the reply line without
    // its line feed, or nothing for a notification.
    std::optional<std::string> handle(std::string_view line);

    // The reply line to `request` (a message that is not a notification); the steps of a tool
    // that sends run through `call`, else all on this thread.
    std::string reply(const JSONRPCMessage& request, CallContext& call);
    std::string reply(const JSONRPCMessage& request);
    // Whether the request needs no workspace, so that it may be answered as soon as it is
    // read: every method but tools/call.
    static bool answersAtOnce(const JSONRPCMessage& request);

    // The reply to a line that is not one JSON object.
    static std::string parseError();
    // The reply to a line longer than lineLengthLimit, which is not read.
    static std::string lineTooLong();

    // The result of every method but tools/call, which callToolText() answers. Throws
    // MCPError for unknown methods.
    nlohmann::json dispatch(const JSONRPCMessage& request);

    // Runs one tool and returns its text. Throws MCPError(-32601) for an unknown name and
    // any other error for a failed tool, which dispatch turns into an isError result.
    std::string callTool(const std::string& name, const nlohmann::json& arguments, CallContext& call);

private:
    // What tools/call answers: the tool's text, or the text of its failure.
    struct ToolText {
        std::string text;
        bool isError = false;
    };
    // Runs the tool that tools/call's params name. Throws MCPError for an unknown tool.
    ToolText callToolText(const nlohmann::json& params, CallContext& call);

    WorkspaceStore& store;
    OAuth2Service oauth;
    SignInRegistry signIns{oauth};
    // Whether the host's initialize declared that it shows forms to its user.
    std::atomic<bool> hostShowsForms{false};
};

}  // namespace tessaline
