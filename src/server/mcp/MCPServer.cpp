#include "server/mcp/MCPServer.hpp"

#include "core/support/CompactJSON.hpp"
#include "core/support/JSONString.hpp"
#include "core/support/Utf8.hpp"
#include "core/support/Version.hpp"
#include "server/mcp/MCPError.hpp"
#include "server/mcp/ToolCatalog.hpp"


namespace tessaline {

using nlohmann::json;

namespace {

// {"content":[{"text":...,"type":"text"}],"isError":...} as compactJSON writes it, written
// straight around the text, which may be most of the reply. Tool texts can carry bytes from
// outside (response bodies, files); they are repaired here so that a reply is never lost to
// invalid UTF-8.
void appendToolResult(std::string& out, const std::string& text, bool isError) {
    out += R"({"content":[{"text":)";
    if (utf8::isValid(text)) {
        jsonString::appendQuoted(out, text, jsonString::ShortEscapes::all);
    } else {
        jsonString::appendQuoted(out, utf8::repaired(text), jsonString::ShortEscapes::all);
    }
    out.append(R"(,"type":"text"}],"isError":)").append(isError ? "true" : "false") += '}';
}

// Whether initialize's params (an object, or null) declare the elicitation capability in form
// mode: an empty object (protocol versions before form and URL modes), or one with "form".
bool showsForms(const json& params) {
    const auto capabilities = params.find("capabilities");
    if (capabilities == params.end() || !capabilities->is_object()) return false;
    const auto elicitation = capabilities->find("elicitation");
    return elicitation != capabilities->end() && elicitation->is_object() &&
           (elicitation->empty() || elicitation->contains("form"));
}

json errorObject(int code, const std::string& message) { return {{"code", code}, {"message", message}}; }

// The params of a tools/call, the only method that fails for its params: they became a tree
// only when they hold no more values than a tool's arguments ever need.
const json& toolCallParams(const JSONRPCMessage& message) {
    static const json none = json::object();
    if (message.paramsValues > MCPServer::paramsValueLimit) throw MCPError::tooManyParams(MCPServer::paramsValueLimit);
    if (!message.paramsNumberOutOfRange.empty()) throw MCPError::numberOutOfRange(message.paramsNumberOutOfRange);
    return message.params.is_object() ? message.params : none;
}

// The reply line, keys sorted: {"error":...,"id":...,"jsonrpc":"2.0"} or
// {"id":...,"jsonrpc":"2.0","result":...}, with the id written back as the message gave it
// around the outcome's JSON text.
enum class Outcome { result, error };

// The outcome is appended by `writeOutcome`, about `size` bytes of JSON text.
template <typename WriteOutcome>
std::string envelope(std::string_view id, Outcome outcome, std::size_t size, WriteOutcome writeOutcome) {
    // One buffer: an id or a result may be most of a 64 MiB line.
    std::string line;
    line.reserve(size + id.size() + 40);
    line += '{';
    if (outcome == Outcome::error) {
        line.append("\"error\":");
        writeOutcome(line);
        line += ',';
    }
    line.append("\"id\":").append(id).append(",\"jsonrpc\":\"2.0\"");
    if (outcome == Outcome::result) {
        line.append(",\"result\":");
        writeOutcome(line);
    }
    line += '}';
    return line;
}

std::string envelope(std::string_view id, Outcome outcome, std::string_view encoded) {
    return envelope(id, outcome, encoded.size(), [encoded](std::string& line) { line.append(encoded); });
}

// The reply line around an outcome given as a tree; "{}" when it cannot be serialised.
std::string replyLine(std::string_view id, Outcome outcome, const json& value) {
    std::string encoded;
    try {
        encoded = compactJSON::encode(value);
    } catch (const json::exception&) {
        return "{}";
    }
    return envelope(id, outcome, encoded);
}

// Every step where it is asked for, on the calling thread.
class InlineCall : public CallContext {
public:
    void runOnWorkspace(const std::function<void()>& step) override { step(); }
    StoredResponse exchange(const RequestSession& session) override { return session.perform(); }
    void leaveWorkspace() override {}
    bool isCancelled() const override { return false; }
    std::optional<ResponseRouter::Expected> askHost(const std::string&, const json&) override { return std::nullopt; }
    void withdraw(const ResponseRouter::Expected&) override {}
    void reportProgress(std::uint64_t, std::optional<std::uint64_t>, const std::string&) override {}
};

}  // namespace

MCPServer::MCPServer(WorkspaceStore& workspaceStore)
    : store(workspaceStore), oauth(store.oauthTokens()) {}

std::optional<std::string> MCPServer::handle(std::string_view line) {
    const std::string repairedLine = utf8::isValid(line) ? std::string() : utf8::repaired(line);
    const auto message = JSONRPCMessage::read(repairedLine.empty() ? line : repairedLine);
    if (!message) return parseError();
    if (message->isNotification() || message->isResponse()) return std::nullopt;
    return reply(*message);
}

std::string MCPServer::reply(const JSONRPCMessage& request) {
    InlineCall call;
    return reply(request, call);
}

std::string MCPServer::reply(const JSONRPCMessage& request, CallContext& call) {
    try {
        if (answersAtOnce(request)) return replyLine(request.id, Outcome::result, dispatch(request));
        const auto answer = callToolText(toolCallParams(request), call);
        // A text gains its escapes: a response's summary, one for every six bytes or so, for
        // its quotes and line breaks. Room reserved short would mean a second block and a copy.
        // The rest of the result is some 60 bytes.
        return envelope(request.id, Outcome::result, answer.text.size() + answer.text.size() / 4 + 64,
                        [&answer](std::string& line) { appendToolResult(line, answer.text, answer.isError); });
    } catch (const MCPError& error) {
        return replyLine(request.id, Outcome::error, errorObject(error.code(), error.message()));
    } catch (const std::exception& error) {
        return replyLine(request.id, Outcome::error, errorObject(MCPError::serverError, error.what()));
    }
}

bool MCPServer::answersAtOnce(const JSONRPCMessage& request) { return request.method != "tools/call"; }

std::string MCPServer::parseError() {
    return replyLine("null", Outcome::error, errorObject(MCPError::parseError, "Parse error"));
}

std::string MCPServer::lineTooLong() {
    const auto error = MCPError::lineTooLong(lineLengthLimit);
    return replyLine("null", Outcome::error, errorObject(error.code(), error.message()));
}

json MCPServer::dispatch(const JSONRPCMessage& request) {
    const auto& method = request.method;
    if (method == "initialize") {
        // Read only for what the host can do; initialize never fails for its params.
        hostShowsForms = showsForms(request.params);
        return {{"protocolVersion", protocolVersion},
                {"capabilities", {{"tools", {{"listChanged", false}}}}},
                {"serverInfo", {{"name", serverName}, {"version", projectVersion()}}},
                {"instructions", toolCatalog::instructions}};
    }
    if (method == "ping") return json::object();
    if (method == "tools/list") return {{"tools", toolCatalog::definitions()}};
    if (method == "resources/list") return {{"resources", json::array()}};
    if (method == "resources/templates/list") return {{"resourceTemplates", json::array()}};
    if (method == "prompts/list") return {{"prompts", json::array()}};
    throw MCPError::unknownMethod(method);
}

MCPServer::ToolText MCPServer::callToolText(const json& params, CallContext& call) {
    const auto name = params.find("name");
    if (name == params.end() || !name->is_string()) throw MCPError::missingToolName();
    const auto arguments = params.find("arguments");
    static const json noArguments = json::object();
    try {
        return {.text = callTool(*name, arguments != params.end() && arguments->is_object() ? *arguments : noArguments, call)};
    } catch (const MCPError&) {
        throw;  // an unknown tool is a JSON-RPC error
    } catch (const std::exception& error) {
        return {.text = std::string("Error: ") + error.what(), .isError = true};
    }
}

std::string MCPServer::callTool(const std::string& name, const json& arguments, CallContext& call) {
    const auto* tool = toolCatalog::find(name);
    if (tool == nullptr) throw MCPError::unknownTool(name);
    return tool->handler(
        {.store = store, .oauth = oauth, .signIns = signIns, .call = call, .hostShowsForms = hostShowsForms}, arguments);
}

}  // namespace tessaline
