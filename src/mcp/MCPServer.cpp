#include "mcp/MCPServer.hpp"

#include "mcp/MCPError.hpp"
#include "mcp/ToolCatalog.hpp"
#include "support/CompactJSON.hpp"
#include "support/Utf8.hpp"
#include "support/Version.hpp"

#include <algorithm>

namespace tessaline {

using nlohmann::json;

namespace {

// Tool texts can carry bytes from outside (response bodies, files); they are repaired here so
// that a reply is never lost to invalid UTF-8.
json toolResult(const std::string& text, bool isError) {
    return {{"content", json::array({{{"type", "text"}, {"text", utf8::repaired(text)}}})}, {"isError", isError}};
}

json errorObject(int code, const std::string& message) { return {{"code", code}, {"message", message}}; }

bool isKnownTool(const std::string& name) {
    const auto& tools = ToolCatalog::definitions();
    return std::any_of(tools.begin(), tools.end(), [&](const json& tool) { return tool["name"] == name; });
}

}  // namespace

MCPServer::MCPServer(WorkspaceStore& store)
    : workspaceTools(store), sendingTools(store, runner), conversionTools(store), oauthTools(store) {
    const auto bind = [](auto* tools, std::string (std::remove_pointer_t<decltype(tools)>::*member)(const json&)) {
        return [tools, member](const json& arguments) { return (tools->*member)(arguments); };
    };
    handlers = {
        {"list_collections", bind(&workspaceTools, &WorkspaceTools::listCollections)},
        {"list_requests", bind(&workspaceTools, &WorkspaceTools::listRequests)},
        {"get_request", bind(&workspaceTools, &WorkspaceTools::getRequest)},
        {"create_request", bind(&workspaceTools, &WorkspaceTools::createRequest)},
        {"update_request", bind(&workspaceTools, &WorkspaceTools::updateRequest)},
        {"delete_request", bind(&workspaceTools, &WorkspaceTools::deleteRequest)},
        {"list_environments", bind(&workspaceTools, &WorkspaceTools::listEnvironments)},
        {"set_active_environment", bind(&workspaceTools, &WorkspaceTools::setActiveEnvironment)},
        {"set_variable", bind(&workspaceTools, &WorkspaceTools::setVariable)},
        {"update_collection", bind(&workspaceTools, &WorkspaceTools::updateCollection)},
        {"send_request", bind(&sendingTools, &SendingTools::sendRequest)},
        {"send_adhoc", bind(&sendingTools, &SendingTools::sendAdhoc)},
        {"get_last_response", bind(&sendingTools, &SendingTools::getLastResponse)},
        {"import_curl", bind(&conversionTools, &ConversionTools::importCurl)},
        {"generate_code", bind(&conversionTools, &ConversionTools::generateCode)},
        {"export_postman", bind(&conversionTools, &ConversionTools::exportPostman)},
        {"oauth_token", bind(&oauthTools, &OAuthTools::oauthToken)},
    };
}

std::optional<std::string> MCPServer::handle(std::string_view line) {
    // A raw NUL byte is never valid JSON, but nlohmann's reader would take it for the end of
    // the input and accept what stands before it.
    json message = line.find('\0') == std::string_view::npos
                       ? json::parse(utf8::repaired(line), nullptr, /*allow_exceptions=*/false)
                       : json(json::value_t::discarded);
    if (!message.is_object()) {
        return encode({{"jsonrpc", "2.0"}, {"id", nullptr}, {"error", errorObject(MCPError::parseError, "Parse error")}});
    }
    // The id is moved, never copied: it is echoed as it came, however deeply nested.
    json id = message.contains("id") ? std::move(message["id"]) : json();
    if (id.is_null()) return std::nullopt;
    const json* methodValue = message.contains("method") ? &message["method"] : nullptr;
    const std::string method = methodValue && methodValue->is_string() ? methodValue->get<std::string>() : "";
    const json* paramsValue = message.contains("params") ? &message["params"] : nullptr;
    static const json emptyParams = json::object();
    const json& params = paramsValue && paramsValue->is_object() ? *paramsValue : emptyParams;

    json reply = {{"jsonrpc", "2.0"}};
    try {
        reply["result"] = dispatch(method, params);
    } catch (const MCPError& error) {
        reply["error"] = errorObject(error.code(), error.message());
    } catch (const std::exception& error) {
        reply["error"] = errorObject(MCPError::serverError, error.what());
    }
    reply["id"] = std::move(id);
    return encode(reply);
}

json MCPServer::dispatch(const std::string& method, const json& params) {
    if (method == "initialize") {
        return {{"protocolVersion", protocolVersion},
                {"capabilities", {{"tools", {{"listChanged", false}}}}},
                {"serverInfo", {{"name", serverName}, {"version", projectVersion()}}},
                {"instructions", ToolCatalog::instructions}};
    }
    if (method == "ping") return json::object();
    if (method == "tools/list") return {{"tools", ToolCatalog::definitions()}};
    if (method == "tools/call") return callToolResult(params);
    if (method == "resources/list") return {{"resources", json::array()}};
    if (method == "resources/templates/list") return {{"resourceTemplates", json::array()}};
    if (method == "prompts/list") return {{"prompts", json::array()}};
    throw MCPError::unknownMethod(method);
}

json MCPServer::callToolResult(const json& params) {
    const auto name = params.find("name");
    if (name == params.end() || !name->is_string()) throw MCPError::invalid("Missing tool name");
    const auto arguments = params.find("arguments");
    static const json noArguments = json::object();
    try {
        return toolResult(callTool(*name, arguments != params.end() && arguments->is_object() ? *arguments : noArguments),
                          false);
    } catch (const MCPError& error) {
        if (error.code() == MCPError::methodNotFound) throw;
        return toolResult("Error: " + error.message(), true);
    } catch (const std::exception& error) {
        return toolResult(std::string("Error: ") + error.what(), true);
    }
}

std::string MCPServer::callTool(const std::string& name, const json& arguments) {
    if (!isKnownTool(name)) throw MCPError::unknownTool(name);
    const auto handler = handlers.find(name);
    if (handler == handlers.end()) throw Error("The " + name + " tool is not available in this build yet.");
    return handler->second(arguments);
}

std::string MCPServer::encode(const json& reply) {
    try {
        return CompactJSON::encode(reply);
    } catch (const std::exception&) {
        return "{}";
    }
}

}  // namespace tessaline
