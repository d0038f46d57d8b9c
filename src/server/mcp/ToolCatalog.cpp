#include "server/mcp/ToolCatalog.hpp"

#include <map>

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

// What a host shows of a tool and may use to decide which calls need the user's approval. A
// tool that only reads is neither destructive nor has effects to repeat; one that reaches
// other hosts may change anything there.
struct Hints {
    std::string title{};
    bool readOnly = false;
    bool destructive = false;  // may delete or overwrite what the user wrote
    bool idempotent = false;  // calling again with the same arguments changes nothing more
    bool openWorld = false;
};

const Hints reading{.readOnly = true, .idempotent = true};
const Hints adding{};
const Hints overwriting{.destructive = true, .idempotent = true};
const Hints switching{.idempotent = true};
const Hints sending{.destructive = true, .openWorld = true};

Hints titled(std::string title, Hints hints) {
    hints.title = std::move(title);
    return hints;
}

// The title goes both beside the name, where hosts look first, and among the annotations, the
// only place hosts of earlier protocol versions look.
json definition(const std::string& name, const Hints& hints, const std::string& description, json inputSchema) {
    const json annotations = {{"title", hints.title},
                              {"readOnlyHint", hints.readOnly},
                              {"destructiveHint", hints.destructive},
                              {"idempotentHint", hints.idempotent},
                              {"openWorldHint", hints.openWorld}};
    return {{"name", name}, {"title", hints.title}, {"description", description}, {"inputSchema", std::move(inputSchema)},
            {"annotations", annotations}};
}

// The definitions in catalogue order and each tool's handler, built together from one list.
struct Catalogue {
    json definitions = json::array();
    std::map<std::string, Handler, std::less<>> handlers;

    void add(const std::string& name, const Hints& hints, Handler handler, const std::string& description, json inputSchema) {
        definitions.push_back(definition(name, hints, description, std::move(inputSchema)));
        handlers.emplace(name, handler);
    }
};

Catalogue build() {
    const json requestRef = str("Request id or exact name");
    Catalogue tools;
    tools.add("list_collections", titled("List collections", reading), &WorkspaceTools::listCollections,
              "List collections with their request counts and variable names.",
              schema({}, {}));
    tools.add("list_requests", titled("List requests", reading), &WorkspaceTools::listRequests,
              "List saved requests (id, name, method, url, folder path). Optionally filter by "
              "collection name or id.",
              schema({{"collection", str("Collection name or id (optional)")}}, {}));
    tools.add("get_request", titled("Get request", reading), &WorkspaceTools::getRequest,
              "Full definition of one saved request: url, query, headers, body, auth, notes.",
              schema({{"request", requestRef}}, {"request"}));
    tools.add("send_request", titled("Send saved request", sending), &SendingTools::sendRequest,
              "Send a saved request with variables resolved from the active environment (or "
              "`environment`), plus optional per-call `variables` overrides. Returns status, timing, "
              "headers and body; the response is recorded in the app's history.",
              schema({{"request", requestRef},
                      {"environment", str("Environment name to use instead of the active one")},
                      {"variables", obj("Extra {{name}} values for this call only")},
                      {"maxBodyChars", integer("Truncate the body after this many characters (default 20000)")}},
                     {"request"}));
    tools.add("send_adhoc", titled("Send one-off request", sending), &SendingTools::sendAdhoc,
              "Send a one-off HTTP request without saving it. Variables from the active environment "
              "still resolve.",
              schema({{"method", str("GET, POST, PUT, PATCH, DELETE, HEAD, OPTIONS")},
                      {"url", str("Full URL, may contain {{variables}}")},
                      {"headers", obj("Header name \u2192 value")},
                      {"body", str("Raw body text")},
                      {"bodyKind", str("json | text | xml | formURLEncoded (body as k=v&k2=v2)")},
                      {"maxBodyChars", integer()}},
                     {"method", "url"}));
    tools.add("create_request", titled("Create request", adding), &WorkspaceTools::createRequest,
              "Save a new request into a collection (created if missing). Returns its id.",
              schema({{"collection", str("Collection name or id")},
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
                     {"collection", "name", "url"}));
    tools.add("update_request", titled("Update request", overwriting), &WorkspaceTools::updateRequest,
              "Change fields of a saved request. Only provided fields change; `query`/`headers` replace "
              "the whole set.",
              schema({{"request", requestRef},
                      {"name", str("")},
                      {"method", str("")},
                      {"url", str("")},
                      {"query", obj("")},
                      {"headers", obj("")},
                      {"body", str("")},
                      {"bodyKind", str("json | text | xml | formURLEncoded | none")},
                      {"notes", str("")}},
                     {"request"}));
    tools.add("delete_request", titled("Delete request", overwriting), &WorkspaceTools::deleteRequest,
              "Delete a saved request.", schema({{"request", requestRef}}, {"request"}));
    tools.add("get_last_response", titled("Get last response", reading), &SendingTools::getLastResponse,
              "The most recent recorded response for a request (from the app or from send_request).",
              schema({{"request", requestRef}, {"maxBodyChars", integer()}}, {"request"}));
    tools.add("list_environments", titled("List environments", reading), &WorkspaceTools::listEnvironments,
              "Environments and their variables. Values whose names look secret (token, secret, "
              "password, key) are masked unless reveal=true.",
              schema({{"reveal", boolean("Show masked values")}}, {}));
    tools.add("set_active_environment", titled("Set active environment", switching), &WorkspaceTools::setActiveEnvironment,
              "Switch the active environment (also switches it in the app).",
              schema({{"environment", str("Environment name, or empty for none")}}, {"environment"}));
    tools.add("set_variable", titled("Set variable", overwriting), &WorkspaceTools::setVariable,
              "Create or update a variable in an environment (default: the active one) or in a "
              "collection.",
              schema({{"key", str("Variable name")},
                      {"value", str("Value")},
                      {"environment", str("Environment name (default active)")},
                      {"collection", str("Collection name or id \u2014 sets a collection variable instead")}},
                     {"key", "value"}));
    tools.add("update_collection", titled("Update collection", overwriting), &WorkspaceTools::updateCollection,
              "Rename a collection or set its base URL (prefixed to relative request URLs, exposed as "
              "{{baseUrl}}) or notes.",
              schema({{"collection", str("Collection name or id")},
                      {"name", str("New name")},
                      {"baseUrl", str("e.g. https://api.example.com")},
                      {"notes", str("")}},
                     {"collection"}));
    tools.add("import_curl", titled("Import curl command", adding), &ConversionTools::importCurl, "Parse a curl command and save it as a request.",
              schema({{"curl", str("The curl command line")},
                      {"collection", str("Collection name or id (default: first)")},
                      {"name", str("Optional request name")}},
                     {"curl"}));
    tools.add("generate_code", titled("Generate code snippet", reading), &ConversionTools::generateCode,
              "Code snippet for a saved request with variables resolved.",
              schema({{"request", requestRef},
                      {"language", str("cURL | Swift (URLSession) | JavaScript (fetch) | Python (requests) | "
                                       "Go (net/http) | HTTPie")}},
                     {"request"}));
    tools.add("export_postman", titled("Export Postman collection", reading), &ConversionTools::exportPostman, "Export a collection as Postman Collection v2.1 JSON.",
              schema({{"collection", str("Collection name or id")}}, {"collection"}));
    tools.add("oauth_token", titled("OAuth 2 token", sending), &OAuthTools::oauthToken,
              "OAuth 2 token for a request (its own or inherited auth) or a collection's default auth. "
              "action=status shows whether a token is cached and when it expires; refresh uses the "
              "refresh token or re-runs a non-interactive grant; new discards the cached token and runs "
              "the grant; clear forgets it. Authorization-code and device-code grants need a person: "
              "sign in once in the Tessaline app, after which refreshes work here. Tokens are masked "
              "unless reveal=true.",
              schema({{"request", requestRef},
                      {"collection", str("Collection name or id (instead of request)")},
                      {"action", str("status (default) | refresh | new | clear")},
                      {"reveal", boolean("Include the raw access token")}},
                     {}));
    return tools;
}

const Catalogue& catalogue() {
    static const Catalogue tools = build();  // thread-safe one-time initialisation
    return tools;
}

}  // namespace

const std::string instructions =
    "Tessaline is a local HTTP/API client. Requests live in collections; a collection has a base URL that is "
    "prefixed to relative request URLs (e.g. /users) and available as {{baseUrl}}; other {{variables}} come from "
    "the active environment and the collection. Use list_requests to discover names, send_request to run one, "
    "send_adhoc for one-off calls. Everything is stored on this Mac; changes appear in the Tessaline app "
    "immediately.";

const nlohmann::json& definitions() { return catalogue().definitions; }

std::optional<Handler> handler(std::string_view name) {
    const auto& handlers = catalogue().handlers;
    const auto found = handlers.find(name);
    if (found == handlers.end()) return std::nullopt;
    return found->second;
}

std::string listing() {
    std::string out;
    for (const auto& definition : definitions()) {
        if (!out.empty()) out += '\n';
        out += definition.value("name", "");
        out += "  \u2014  ";
        out += definition.value("description", "");
    }
    return out;
}

}  // namespace tessaline::toolCatalog
