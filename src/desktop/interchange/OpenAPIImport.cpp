#include "desktop/interchange/OpenAPIImport.hpp"

#include "core/interchange/ImportError.hpp"
#include "core/interchange/RequestName.hpp"
#include "core/support/Joined.hpp"
#include "core/support/Utf8.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace tessaline {
namespace {

using json = nlohmann::ordered_json;

// How deep a chain of references or nested schemas may go before it counts as a cycle.
constexpr int maximumDepth = 32;

const json& member(const json& object, std::string_view key) {
    static const json null;
    if (!object.is_object()) return null;
    const auto found = object.find(key);
    return found != object.end() ? *found : null;
}

std::string text(const json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_null()) return {};
    return value.dump();
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) text.replace(at, from.size(), to);
    return text;
}

class Importer {
public:
    explicit Importer(const json& root) : document(root), isSwagger(member(root, "swagger").is_string()) {}

    APICollection collection();

private:
    const json& resolved(const json& node, int depth = 0) const;
    json skeleton(const json& schema, int depth) const;
    std::string exampleText(const json& parameter) const;
    std::string baseURL() const;
    std::optional<Auth> auth(const json& requirements) const;
    Auth scheme(const json& definition, const std::vector<std::string>& scopes) const;
    APIRequest request(const std::string& path, const std::string& method, const json& operation, const json& pathItem,
                       std::vector<KeyValue>& variables) const;
    std::vector<json> parameters(const json& operation, const json& pathItem) const;
    void addBody(APIRequest& request, const json& operation, const std::vector<json>& parameters) const;
    void addContent(APIRequest& request, const std::string& mediaType, const json& media) const;
    std::vector<KeyValue> formRows(const json& schema) const;

    const json& document;
    bool isSwagger;
};

// A local reference "#/a/b~1c" followed to what it names; anything else is the node itself.
const json& Importer::resolved(const json& node, int depth) const {
    const auto& reference = member(node, "$ref");
    if (!reference.is_string() || depth > maximumDepth) return node;
    const auto pointer = reference.get<std::string>();
    if (!pointer.starts_with("#")) return node;
    try {
        return resolved(document.at(json::json_pointer(pointer.substr(1))), depth + 1);
    } catch (const json::exception&) {
        return node;
    }
}

json Importer::skeleton(const json& schemaNode, int depth) const {
    const auto& schema = resolved(schemaNode);
    if (depth > maximumDepth || !schema.is_object()) return nullptr;
    if (schema.contains("example")) return schema["example"];
    if (const auto& all = member(schema, "allOf"); all.is_array()) {
        json merged = json::object();
        for (const auto& part : all) {
            if (auto piece = skeleton(part, depth + 1); piece.is_object()) merged.update(piece);
        }
        return merged;
    }
    for (const char* alternatives : {"oneOf", "anyOf"}) {
        if (const auto& choices = member(schema, alternatives); choices.is_array() && !choices.empty()) return skeleton(choices[0], depth + 1);
    }
    if (schema.contains("default")) return schema["default"];
    if (const auto& values = member(schema, "enum"); values.is_array() && !values.empty()) return values[0];
    auto type = member(schema, "type");
    if (type.is_array() && !type.empty()) type = type[0];  // 3.1 lists types, "null" last
    if (type == "array") return json::array({skeleton(member(schema, "items"), depth + 1)});
    if (type == "string") return "string";
    if (type == "integer" || type == "number") return 0;
    if (type == "boolean") return false;
    if (type == "object" || schema.contains("properties")) {
        json object = json::object();
        for (const auto& [name, property] : member(schema, "properties").items()) object[name] = skeleton(property, depth + 1);
        return object;
    }
    return nullptr;
}

std::string Importer::exampleText(const json& parameter) const {
    const auto& schema = resolved(member(parameter, "schema"));
    for (const auto* source : {&parameter, &schema}) {
        for (const char* key : {"example", "default"}) {
            if (source->contains(key)) return text((*source)[key]);
        }
    }
    if (const auto& values = member(schema, "enum"); values.is_array() && !values.empty()) return text(values[0]);
    if (const auto& values = member(parameter, "enum"); values.is_array() && !values.empty()) return text(values[0]);
    return {};
}

std::string Importer::baseURL() const {
    if (isSwagger) {
        const auto host = text(member(document, "host"));
        const auto basePath = text(member(document, "basePath"));
        if (host.empty()) return basePath;
        const auto& schemes = member(document, "schemes");
        const auto scheme = schemes.is_array() && !schemes.empty() ? text(schemes[0]) : "https";
        return scheme + "://" + host + (basePath == "/" ? "" : basePath);
    }
    const auto& servers = member(document, "servers");
    if (!servers.is_array() || servers.empty()) return {};
    auto url = text(member(servers[0], "url"));
    for (const auto& [name, variable] : member(servers[0], "variables").items()) {
        url = replaced(url, "{" + name + "}", text(member(variable, "default")));
    }
    return url == "/" ? "" : url;
}

Auth Importer::scheme(const json& definition, const std::vector<std::string>& scopes) const {
    const auto type = text(member(definition, "type"));
    const auto schemeName = text(member(definition, "scheme"));
    if (type == "basic" || (type == "http" && schemeName == "basic")) return {.kind = AuthKind::basic};
    if (type == "http" && schemeName == "bearer") return {.kind = AuthKind::bearer};
    if (type == "apiKey") {
        const auto in = text(member(definition, "in"));
        if (in != "header" && in != "query") return {};
        return {.kind = AuthKind::apiKey, .apiKeyName = text(member(definition, "name")),
                .apiKeyIn = in == "query" ? APIKeyLocation::query : APIKeyLocation::header};
    }
    if (type != "oauth2") return {};
    OAuth2Config config;
    config.scope = joined(scopes, " ");
    // Swagger 2.0 names one flow; OpenAPI 3 lists flows, of which the first is taken.
    auto flowName = text(member(definition, "flow"));
    const json* flow = &definition;
    if (const auto& flows = member(definition, "flows"); flows.is_object() && !flows.empty()) {
        flowName = flows.begin().key();
        flow = &flows.begin().value();
    }
    config.grant = flowName == "clientCredentials" || flowName == "application" ? OAuth2Grant::clientCredentials
                   : flowName == "password"                                     ? OAuth2Grant::password
                                                                                : OAuth2Grant::authorizationCode;
    config.authURL = text(member(*flow, "authorizationUrl"));
    config.tokenURL = text(member(*flow, "tokenUrl"));
    return {.kind = AuthKind::oauth2, .oauth2 = config};
}

// The auth of the first requirement's first scheme; none for an empty list, absent when
// nothing is required.
std::optional<Auth> Importer::auth(const json& requirements) const {
    if (!requirements.is_array()) return std::nullopt;
    if (requirements.empty() || !requirements[0].is_object() || requirements[0].empty()) return Auth{};
    const auto first = requirements[0].begin();
    const auto& name = first.key();
    const auto& scopeList = first.value();
    std::vector<std::string> scopes;
    if (scopeList.is_array()) {
        for (const auto& scope : scopeList) scopes.push_back(text(scope));
    }
    const auto& definitions = isSwagger ? member(document, "securityDefinitions") : member(member(document, "components"), "securitySchemes");
    return scheme(resolved(member(definitions, name)), scopes);
}

// The path item's parameters, then the operation's, which replace any of the same name and place.
std::vector<json> Importer::parameters(const json& operation, const json& pathItem) const {
    std::vector<json> result;
    for (const auto* list : {&member(pathItem, "parameters"), &member(operation, "parameters")}) {
        if (!list->is_array()) continue;
        for (const auto& node : *list) {
            const auto& parameter = resolved(node);
            std::erase_if(result, [&](const json& existing) {
                return member(existing, "name") == member(parameter, "name") && member(existing, "in") == member(parameter, "in");
            });
            result.push_back(parameter);
        }
    }
    return result;
}

std::vector<KeyValue> Importer::formRows(const json& schemaNode) const {
    std::vector<KeyValue> rows;
    for (const auto& [name, propertyNode] : member(resolved(schemaNode), "properties").items()) {
        const auto& property = resolved(propertyNode);
        const bool isFile = member(property, "format") == "binary" || member(property, "type") == "file";
        rows.push_back({.key = name, .value = isFile ? "@" : exampleText(json{{"schema", property}})});
    }
    return rows;
}

void Importer::addContent(APIRequest& request, const std::string& mediaType, const json& media) const {
    if (mediaType.find("x-www-form-urlencoded") != std::string::npos || mediaType.find("multipart/") != std::string::npos) {
        request.body = {.kind = mediaType.find("multipart/") != std::string::npos ? BodyKind::multipart : BodyKind::formURLEncoded,
                        .form = formRows(member(media, "schema"))};
        return;
    }
    json example = member(media, "example");
    if (const auto& examples = member(media, "examples"); example.is_null() && examples.is_object() && !examples.empty()) {
        example = member(resolved(examples.begin().value()), "value");
    }
    const bool isJSON = mediaType.find("json") != std::string::npos;
    if (example.is_null() && isJSON) example = skeleton(member(media, "schema"), 0);
    request.body.kind = isJSON ? BodyKind::json : mediaType.find("xml") != std::string::npos ? BodyKind::xml : BodyKind::text;
    request.body.raw = example.is_string() ? example.get<std::string>() : example.is_null() ? "" : example.dump(2);
}

void Importer::addBody(APIRequest& request, const json& operation, const std::vector<json>& parameters) const {
    if (!isSwagger) {
        const auto& content = member(resolved(member(operation, "requestBody")), "content");
        if (!content.is_object() || content.empty()) return;
        static constexpr std::array preferred{"json", "x-www-form-urlencoded", "multipart/form-data", "xml", "text/"};
        for (const char* kind : preferred) {
            for (const auto& [mediaType, media] : content.items()) {
                if (mediaType.find(kind) != std::string::npos) return addContent(request, mediaType, media);
            }
        }
        return addContent(request, content.begin().key(), content.begin().value());
    }
    std::vector<KeyValue> form;
    bool hasFile = false;
    for (const auto& parameter : parameters) {
        const auto in = text(member(parameter, "in"));
        if (in == "body") return addContent(request, "application/json", parameter);
        if (in != "formData") continue;
        hasFile = hasFile || member(parameter, "type") == "file";
        form.push_back({.key = text(member(parameter, "name")), .value = member(parameter, "type") == "file" ? "@" : exampleText(parameter)});
    }
    if (form.empty()) return;
    const auto consumes = member(operation, "consumes").is_array() ? member(operation, "consumes") : member(document, "consumes");
    const bool multipart = hasFile || (consumes.is_array() && std::any_of(consumes.begin(), consumes.end(), [](const json& type) {
                                           return text(type).find("multipart/") != std::string::npos;
                                       }));
    request.body = {.kind = multipart ? BodyKind::multipart : BodyKind::formURLEncoded, .form = std::move(form)};
}

APIRequest Importer::request(const std::string& path, const std::string& method, const json& operation, const json& pathItem,
                             std::vector<KeyValue>& variables) const {
    APIRequest request{.method = *parseEnum<HTTPMethod>(method), .url = path, .notes = text(member(operation, "description"))};
    request.name = text(member(operation, "summary"));
    if (request.name.empty()) request.name = text(member(operation, "operationId"));
    if (request.name.empty()) request.name = requestName(request.method, path);
    const auto all = parameters(operation, pathItem);
    for (const auto& parameter : all) {
        const auto name = text(member(parameter, "name"));
        const auto in = text(member(parameter, "in"));
        const KeyValue row{.key = name, .value = exampleText(parameter), .enabled = member(parameter, "required") == true};
        if (in == "path") {
            request.url = replaced(request.url, "{" + name + "}", "{{" + name + "}}");
            const bool known = std::any_of(variables.begin(), variables.end(), [&](const KeyValue& variable) { return variable.key == name; });
            if (!known) variables.push_back({.key = name, .value = row.value});
        } else if (in == "query") {
            request.query.push_back(row);
        } else if (in == "header") {
            request.headers.push_back(row);
        }
    }
    addBody(request, operation, all);
    request.auth = auth(member(operation, "security")).value_or(Auth{.kind = AuthKind::inherit});
    return request;
}

APICollection Importer::collection() {
    const auto& info = member(document, "info");
    APICollection collection{.name = text(member(info, "title")), .notes = text(member(info, "description")), .baseURL = baseURL()};
    if (collection.name.empty()) collection.name = "OpenAPI";
    collection.auth = auth(member(document, "security")).value_or(Auth{});

    std::vector<Folder> folders;
    const auto folderFor = [&](const std::string& tag) -> Folder& {
        const auto found = std::find_if(folders.begin(), folders.end(), [&](const Folder& folder) { return folder.name == tag; });
        if (found != folders.end()) return *found;
        return folders.emplace_back(Uuid::random(), tag);
    };
    for (const auto& tag : member(document, "tags").is_array() ? member(document, "tags") : json::array()) folderFor(text(member(tag, "name")));

    std::vector<CollectionItem> untagged;
    static constexpr std::array methods{"get", "put", "post", "delete", "options", "head", "patch"};
    for (const auto& [path, pathNode] : member(document, "paths").items()) {
        const auto& pathItem = resolved(pathNode);
        for (const char* method : methods) {
            const auto& operation = member(pathItem, method);
            if (!operation.is_object()) continue;
            std::string upper(method);
            std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
            auto item = request(path, upper, operation, pathItem, collection.variables);
            const auto& tags = member(operation, "tags");
            if (tags.is_array() && !tags.empty()) folderFor(text(tags[0])).items.emplace_back(std::move(item));
            else untagged.emplace_back(std::move(item));
        }
    }
    for (auto& folder : folders) {
        if (!folder.items.empty()) collection.items.emplace_back(std::move(folder));
    }
    std::move(untagged.begin(), untagged.end(), std::back_inserter(collection.items));
    return collection;
}

}  // namespace

APICollection OpenAPIImport::importDocument(std::string_view text) {
    const auto document = json::parse(utf8::repaired(text), nullptr, false);
    if (document.is_discarded()) throw ImportError::notJSON("an OpenAPI document");
    const auto& openapi = member(document, "openapi");
    const bool isOpenAPI = openapi.is_string() && openapi.get<std::string>().starts_with("3.");
    const bool isSwagger = member(document, "swagger") == "2.0";
    if (!isOpenAPI && !isSwagger) throw ImportError::notOpenAPI();
    return Importer(document).collection();
}

}  // namespace tessaline
