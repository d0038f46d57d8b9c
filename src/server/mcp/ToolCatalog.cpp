#include "server/mcp/ToolCatalog.hpp"

#include "core/support/Joined.hpp"
#include "server/mcp/ConversionTools.hpp"
#include "server/mcp/OAuthTools.hpp"
#include "server/mcp/SendingTools.hpp"
#include "server/mcp/WorkspaceTools.hpp"

#include <algorithm>

namespace tessaline::toolCatalog {
namespace {

using nlohmann::json;

// Properties are listed in catalogue order; replies sort every key, so only the texts and
// the nesting matter on the wire.
using Property = std::pair<std::string, json>;

json str(const std::string& description) { return {{"type", "string"}, {"description", description}}; }
json obj(const std::string& description) {
    return {{"type", "object"}, {"description", description}, {"additionalProperties", {{"type", "string"}}}};
}
json boolean(const std::string& description) { return {{"type", "boolean"}, {"description", description}}; }
json integer(const std::string& description) { return {{"type", "integer"}, {"description", description}}; }
json integer() { return {{"type", "integer"}}; }

json schema(const std::vector<Property>& properties, const std::vector<std::string>& required) {
    json result = {{"type", "object"}, {"properties", json::object()}};
    for (const auto& [name, property] : properties) result["properties"][name] = property;
    if (!required.empty()) result["required"] = required;
    return result;
}

const ToolDefinition::Hints reading{.readOnly = true, .idempotent = true};
const ToolDefinition::Hints adding{};
const ToolDefinition::Hints overwriting{.destructive = true, .idempotent = true};
const ToolDefinition::Hints switching{.idempotent = true};
const ToolDefinition::Hints sending{.destructive = true, .openWorld = true};

template <class Run>
struct ToolGroup;
template <class Tools>
struct ToolGroup<std::string (Tools::*)(const json&)> {
    using Type = Tools;
};

// The handler that runs `run` on a tool group made for the call.
template <auto run>
std::string handledBy(const ToolServices& services, const json& arguments) {
    typename ToolGroup<decltype(run)>::Type tools(services);
    return (tools.*run)(arguments);
}

std::vector<ToolDefinition> build() {
    const json requestRef = str("Request id or exact name");
    return {
        {.name = "list_collections",
         .title = "List collections",
         .description = "List collections with their request counts and variable names.",
         .inputSchema = schema({}, {}),
         .hints = reading,
         .handler = handledBy<&WorkspaceTools::listCollections>},
        {.name = "list_requests",
         .title = "List requests",
         .description = "List saved requests (id, name, method, url, folder path). Optionally filter by "
                        "collection name or id.",
         .inputSchema = schema({{"collection", str("Collection name or id (optional)")}}, {}),
         .hints = reading,
         .handler = handledBy<&WorkspaceTools::listRequests>},
        {.name = "get_request",
         .title = "Get request",
         .description = "Full definition of one saved request: url, query, headers, body, auth, notes.",
         .inputSchema = schema({{"request", requestRef}}, {"request"}),
         .hints = reading,
         .handler = handledBy<&WorkspaceTools::getRequest>},
        {.name = "send_request",
         .title = "Send saved request",
         .description = "Send a saved request with variables resolved from the active environment (or "
                        "`environment`), plus optional per-call `variables` overrides. Returns status, timing, "
                        "headers and body; the response is recorded in the app's history.",
         .inputSchema = schema({{"request", requestRef},
                                {"environment", str("Environment name to use instead of the active one")},
                                {"variables", obj("Extra {{name}} values for this call only")},
                                {"maxBodyChars", integer("Truncate the body after this many characters (default 20000)")}},
                               {"request"}),
         .hints = sending,
         .handler = handledBy<&SendingTools::sendRequest>},
        {.name = "send_adhoc",
         .title = "Send one-off request",
         .description = "Send a one-off HTTP request without saving it. Variables from the active environment "
                        "still resolve.",
         .inputSchema = schema({{"method", str("GET, POST, PUT, PATCH, DELETE, HEAD, OPTIONS")},
                                {"url", str("Full URL, may contain {{variables}}")},
                                {"headers", obj("Header name \u2192 value")},
                                {"body", str("Raw body text")},
                                {"bodyKind", str("json | text | xml | formURLEncoded (body as k=v&k2=v2)")},
                                {"maxBodyChars", integer()}},
                               {"method", "url"}),
         .hints = sending,
         .handler = handledBy<&SendingTools::sendAdhoc>},
        {.name = "create_request",
         .title = "Create request",
         .description = "Save a new request into a collection (created if missing). Returns its id.",
         .inputSchema = schema({{"collection", str("Collection name or id")},
                                {"folder", str("Folder name inside the collection (optional, created if missing)")},
                                {"name", str("Request name")},
                                {"method", str("HTTP method (default GET)")},
                                {"url", str("URL, may contain {{variables}}")},
                                {"query", obj("Query parameters")},
                                {"headers", obj("Headers")},
                                {"body", str("Raw body")},
                                {"bodyKind", str("json | text | xml | formURLEncoded")},
                                {"bearerToken", str("Sets Bearer auth")},
                                {"notes", str("Free-form notes")}},
                               {"collection", "name", "url"}),
         .hints = adding,
         .handler = handledBy<&WorkspaceTools::createRequest>},
        {.name = "update_request",
         .title = "Update request",
         .description = "Change fields of a saved request. Only provided fields change; `query`/`headers` replace "
                        "the whole set.",
         .inputSchema = schema({{"request", requestRef},
                                {"name", str("")},
                                {"method", str("")},
                                {"url", str("")},
                                {"query", obj("")},
                                {"headers", obj("")},
                                {"body", str("")},
                                {"bodyKind", str("json | text | xml | formURLEncoded | none")},
                                {"notes", str("")}},
                               {"request"}),
         .hints = overwriting,
         .handler = handledBy<&WorkspaceTools::updateRequest>},
        {.name = "delete_request",
         .title = "Delete request",
         .description = "Delete a saved request.",
         .inputSchema = schema({{"request", requestRef}}, {"request"}),
         .hints = overwriting,
         .handler = handledBy<&WorkspaceTools::deleteRequest>},
        {.name = "get_last_response",
         .title = "Get last response",
         .description = "The most recent recorded response for a request (from the app or from send_request).",
         .inputSchema = schema({{"request", requestRef}, {"maxBodyChars", integer()}}, {"request"}),
         .hints = reading,
         .handler = handledBy<&SendingTools::getLastResponse>},
        {.name = "list_environments",
         .title = "List environments",
         .description = "Environments and their variables. Values whose names look secret (token, secret, "
                        "password, key) are masked unless reveal=true.",
         .inputSchema = schema({{"reveal", boolean("Show masked values")}}, {}),
         .hints = reading,
         .handler = handledBy<&WorkspaceTools::listEnvironments>},
        {.name = "set_active_environment",
         .title = "Set active environment",
         .description = "Switch the active environment (also switches it in the app).",
         .inputSchema = schema({{"environment", str("Environment name, or empty for none")}}, {"environment"}),
         .hints = switching,
         .handler = handledBy<&WorkspaceTools::setActiveEnvironment>},
        {.name = "set_variable",
         .title = "Set variable",
         .description = "Create or update a variable in an environment (default: the active one) or in a "
                        "collection.",
         .inputSchema = schema({{"key", str("Variable name")},
                                {"value", str("Value")},
                                {"environment", str("Environment name (default active)")},
                                {"collection", str("Collection name or id \u2014 sets a collection variable instead")}},
                               {"key", "value"}),
         .hints = overwriting,
         .handler = handledBy<&WorkspaceTools::setVariable>},
        {.name = "update_collection",
         .title = "Update collection",
         .description = "Rename a collection or set its base URL (prefixed to relative request URLs, exposed as "
                        "{{baseUrl}}) or notes.",
         .inputSchema = schema({{"collection", str("Collection name or id")},
                                {"name", str("New name")},
                                {"baseUrl", str("e.g. https://api.example.com")},
                                {"notes", str("")}},
                               {"collection"}),
         .hints = overwriting,
         .handler = handledBy<&WorkspaceTools::updateCollection>},
        {.name = "import_curl",
         .title = "Import curl command",
         .description = "Parse a curl command and save it as a request.",
         .inputSchema = schema({{"curl", str("The curl command line")},
                                {"collection", str("Collection name or id (default: first)")},
                                {"name", str("Optional request name")}},
                               {"curl"}),
         .hints = adding,
         .handler = handledBy<&ConversionTools::importCurl>},
        {.name = "generate_code",
         .title = "Generate code snippet",
         .description = "Code snippet for a saved request with variables resolved.",
         .inputSchema = schema({{"request", requestRef},
                                {"language", str("cURL | Swift (URLSession) | JavaScript (fetch) | Python (requests) | "
                                                 "Go (net/http) | HTTPie")}},
                               {"request"}),
         .hints = reading,
         .handler = handledBy<&ConversionTools::generateCode>},
        {.name = "export_postman",
         .title = "Export Postman collection",
         .description = "Export a collection as Postman Collection v2.1 JSON.",
         .inputSchema = schema({{"collection", str("Collection name or id")}}, {"collection"}),
         .hints = reading,
         .handler = handledBy<&ConversionTools::exportPostman>},
        {.name = "oauth_token",
         .title = "OAuth 2 token",
         .description = "OAuth 2 token for a request (its own or inherited auth) or a collection's default auth. "
                        "action=status shows whether a token is cached and when it expires; refresh uses the "
                        "refresh token or re-runs a non-interactive grant; new discards the cached token and runs "
                        "the grant; clear forgets it. Device-code grants, and authorization-code grants whose "
                        "redirect goes to 127.0.0.1 or localhost, need a person: new (or a send that needs the token) "
                        "starts the sign-in and answers with the address and code to give the user, or shows them in "
                        "the host's dialog and waits; status then tells how it goes. Other authorization-code "
                        "redirects need one sign-in in the Tessaline app, after which refreshes work here. Tokens "
                        "are masked unless reveal=true.",
         .inputSchema = schema({{"request", requestRef},
                                {"collection", str("Collection name or id (instead of request)")},
                                {"action", str("status (default) | refresh | new | clear")},
                                {"reveal", boolean("Include the raw access token")}},
                               {}),
         .hints = sending,
         .handler = handledBy<&OAuthTools::oauthToken>},
    };
}

}  // namespace

const std::vector<ToolDefinition>& tools() {
    static const std::vector<ToolDefinition> catalogue = build();  // thread-safe one-time initialisation
    return catalogue;
}

const ToolDefinition* find(std::string_view name) {
    const auto& catalogue = tools();
    const auto found =
        std::find_if(catalogue.begin(), catalogue.end(), [name](const ToolDefinition& tool) { return tool.name == name; });
    return found == catalogue.end() ? nullptr : &*found;
}

const json& definitions() {
    static const json listed = [] {
        json array = json::array();
        for (const auto& tool : tools()) array.push_back(tool.listed());
        return array;
    }();
    return listed;
}

const std::string instructions =
    "Tessaline is a local HTTP/API client. Requests live in collections; a collection has a base URL that is "
    "prefixed to relative request URLs (e.g. /users) and available as {{baseUrl}}; other {{variables}} come from "
    "the active environment and the collection. Use list_requests to discover names, send_request to run one, "
    "send_adhoc for one-off calls. Everything is stored on this Mac; changes appear in the Tessaline app "
    "immediately.";

std::string listing() {
    return joined(tools(), "\n", [](const ToolDefinition& tool) { return tool.name + "  \u2014  " + tool.description; });
}

}  // namespace tessaline::toolCatalog
