#include "core/interchange/PostmanFormat.hpp"

#include "core/interchange/ImportError.hpp"
#include "core/interchange/PostmanAuth.hpp"
#include "core/interchange/PostmanValue.hpp"
#include "core/interchange/RequestName.hpp"
#include "core/interchange/URLText.hpp"
#include "core/support/CaseInsensitive.hpp"
#include "core/support/JSONWriter.hpp"
#include "core/support/Joined.hpp"
#include "core/support/Overloaded.hpp"
#include "core/support/PercentEncoding.hpp"
#include "core/support/Utf8.hpp"

#include <algorithm>
#include <cmath>

namespace tessaline {
namespace {

using nlohmann::json;

constexpr std::string_view baseURLVariable = "baseUrl";
constexpr std::string_view baseURLReference = "{{baseUrl}}";
constexpr double millisecondsPerSecond = 1000;

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t start = 0;;) {
        const auto end = text.find(separator, start);
        parts.emplace_back(text.substr(start, end - start));
        if (end == std::string_view::npos) return parts;
        start = end + 1;
    }
}

// A query key or value as it stands in the URL: the characters that would change how the
// query splits, and "%" so that decoding gives back the text exactly. {{variables}} stay
// readable for Postman to substitute.
std::string queryText(std::string_view text, bool isKey) {
    std::string result;
    for (const char c : text) {
        if (c == '%') result += "%25";
        else if (c == '&') result += "%26";
        else if (c == '#') result += "%23";
        else if (c == '+') result += "%2B";
        else if (c == '=' && isKey) result += "%3D";
        else result += c;
    }
    return result;
}

json keyValues(const std::vector<KeyValue>& rows) {
    json list = json::array();
    for (const auto& row : rows) {
        json entry{{"key", row.key}, {"value", row.value}};
        if (!row.enabled) entry["disabled"] = true;
        list.push_back(std::move(entry));
    }
    return list;
}

// Export to Postman Collection v2.1.

json urlDocument(const APIRequest& request, bool hasBaseURL) {
    const bool relative = request.url.empty() || request.url.starts_with('/');
    auto url = URLText::parse(hasBaseURL && relative ? std::string(baseURLReference) + request.url : request.url);
    json query = json::array();
    std::vector<std::string> sent;
    if (url.query) {
        for (const auto& pair : split(*url.query, '&')) {
            const auto equals = pair.find('=');
            query.push_back({{"key", pair.substr(0, equals)}, {"value", equals == std::string::npos ? json() : json(pair.substr(equals + 1))}});
            sent.push_back(pair);
        }
    }
    for (const auto& row : request.query) {
        const auto pair = queryText(row.key, true) + "=" + queryText(row.value, false);
        json entry{{"key", queryText(row.key, true)}, {"value", queryText(row.value, false)}};
        if (row.enabled) sent.push_back(pair);
        else entry["disabled"] = true;
        query.push_back(std::move(entry));
    }
    if (!sent.empty()) url.query = joined(sent, "&");

    json document{{"raw", url.text()}};
    if (!url.scheme.empty()) document["protocol"] = url.scheme;
    if (const auto host = url.host(); !host.empty()) document["host"] = split(host, '.');
    if (const auto port = url.port(); !port.empty()) document["port"] = port;
    if (!url.path.empty()) {
        const auto segments = split(std::string_view(url.path).substr(1), '/');
        document["path"] = segments;
        json variables = json::array();
        for (const auto& segment : segments) {
            if (segment.size() > 1 && segment.front() == ':') variables.push_back({{"key", segment.substr(1)}, {"value", ""}});
        }
        if (!variables.empty()) document["variable"] = std::move(variables);
    }
    if (!query.empty()) document["query"] = std::move(query);
    if (url.fragment) document["hash"] = *url.fragment;
    return document;
}

json formData(const std::vector<KeyValue>& rows) {
    json list = json::array();
    for (const auto& row : rows) {
        json entry{{"key", row.key}};
        if (row.value.starts_with('@')) {
            entry["type"] = "file";
            entry["src"] = row.value.substr(1);
        } else {
            entry["type"] = "text";
            entry["value"] = row.value;
        }
        if (!row.enabled) entry["disabled"] = true;
        list.push_back(std::move(entry));
    }
    return list;
}

// Both the raw text and the form rows are written whatever the kind, as the model keeps
// them; "mode" says which one is sent, and a body of kind none is marked disabled.
std::optional<json> bodyDocument(const RequestBody& body) {
    if (body.kind == BodyKind::none && body.raw.empty() && body.form.empty()) return std::nullopt;
    json document = json::object();
    if (!body.raw.empty() || body.kind == BodyKind::json || body.kind == BodyKind::text || body.kind == BodyKind::xml) {
        document["raw"] = body.raw;
    }
    if (!body.form.empty()) {
        if (body.kind == BodyKind::multipart) document["formdata"] = formData(body.form);
        else document["urlencoded"] = keyValues(body.form);
    }
    switch (body.kind) {
    case BodyKind::none:
        document["mode"] = body.raw.empty() ? "urlencoded" : "raw";
        document["disabled"] = true;
        break;
    case BodyKind::json:
    case BodyKind::text:
    case BodyKind::xml:
        document["mode"] = "raw";
        document["options"] = {{"raw", {{"language", toString(body.kind)}}}};
        break;
    case BodyKind::formURLEncoded:
        document["mode"] = "urlencoded";
        document["urlencoded"] = keyValues(body.form);
        break;
    case BodyKind::multipart:
        document["mode"] = "formdata";
        document["formdata"] = formData(body.form);
        break;
    }
    return document;
}

json requestItem(const APIRequest& request, bool hasBaseURL) {
    json document{{"method", toString(request.method)}, {"header", keyValues(request.headers)}, {"url", urlDocument(request, hasBaseURL)}};
    if (auto body = bodyDocument(request.body)) document["body"] = std::move(*body);
    if (auto auth = postmanAuth::document(request.auth)) document["auth"] = std::move(*auth);
    if (!request.notes.empty()) document["description"] = request.notes;
    return {
        {"id", request.id.lowercaseText()},
        {"name", request.name},
        {"request", std::move(document)},
        {"response", json::array()},
        {"protocolProfileBehavior",
         {{"followRedirects", request.followRedirects}, {"timeout", std::llround(request.timeout * millisecondsPerSecond)}}},
    };
}

json itemList(const std::vector<CollectionItem>& items, bool hasBaseURL) {
    json list = json::array();
    for (const auto& item : items) {
        list.push_back(std::visit(Overloaded{
                                      [&](const Folder& folder) {
                                          return json{{"id", folder.id.lowercaseText()}, {"name", folder.name}, {"item", itemList(folder.items, hasBaseURL)}};
                                      },
                                      [&](const APIRequest& request) { return requestItem(request, hasBaseURL); },
                                  },
                                  item.payload));
    }
    return list;
}

// Import of Postman v2.x collections and environments.

std::vector<KeyValue> rowsOf(const json& list, bool decode) {
    std::vector<KeyValue> rows;
    if (!list.is_array()) return rows;
    for (const auto& entry : list) {
        if (!entry.is_object()) continue;
        const auto key = postmanValue::text(entry, "key");
        const auto value = postmanValue::text(entry, "value");
        rows.push_back({.key = decode ? percentEncoding::decode(key) : key,
                        .value = decode ? percentEncoding::decode(value) : value,
                        .enabled = !postmanValue::flag(entry, "disabled", false) && postmanValue::flag(entry, "enabled", true)});
    }
    return rows;
}

// v2.0 allows headers as one text of "Name: value" lines.
std::vector<KeyValue> headerRows(const json& headers) {
    if (!headers.is_string()) return rowsOf(headers, false);
    std::vector<KeyValue> rows;
    for (const auto& line : split(headers.get<std::string>(), '\n')) {
        const auto colon = line.find(':');
        if (colon == std::string::npos) continue;
        const auto value = line.substr(colon + 1);
        const auto start = value.find_first_not_of(' ');
        rows.push_back({.key = line.substr(0, colon), .value = start == std::string::npos ? "" : value.substr(start)});
    }
    return rows;
}

std::string partsText(const json& parts, std::string_view separator) {
    if (parts.is_string()) return parts.get<std::string>();
    std::vector<std::string> texts;
    if (parts.is_array()) {
        for (const auto& part : parts) texts.push_back(part.is_string() ? part.get<std::string>() : postmanValue::text(part, "value"));
    }
    return joined(texts, separator);
}

std::string urlFromParts(const json& url) {
    std::string text = url.contains("protocol") ? postmanValue::text(url, "protocol") + "://" : "";
    text += partsText(postmanValue::member(url, "host"), ".");
    if (const auto port = postmanValue::text(url, "port"); !port.empty()) text += ":" + port;
    if (url.contains("path")) text.append("/").append(partsText(url["path"], "/"));
    return text;
}

// Postman's ":name" path segment with the variable's value put in.
void substitutePathVariable(std::string& url, const std::string& name, const std::string& value) {
    const auto segment = "/:" + name;
    for (auto at = url.find(segment); at != std::string::npos; at = url.find(segment, at + 1)) {
        const auto end = at + segment.size();
        if (end == url.size() || url[end] == '/' || url[end] == '?' || url[end] == '#') {
            url.replace(at + 1, segment.size() - 1, value);
        }
    }
}

std::string readURL(const json& url, std::vector<KeyValue>& query) {
    if (!url.is_object()) return url.is_string() ? url.get<std::string>() : "";
    std::string text = url.contains("raw") ? postmanValue::text(url, "raw") : urlFromParts(url);
    if (url.contains("query") && url["query"].is_array()) {
        auto parsed = URLText::parse(text);
        parsed.query.reset();
        // Some writers put the query after the hash.
        if (parsed.fragment) parsed.fragment->erase(std::min(parsed.fragment->find('?'), parsed.fragment->size()));
        text = parsed.text();
        query = rowsOf(url["query"], true);
    }
    const auto& variables = postmanValue::member(url, "variable");
    for (const auto& variable : variables.is_array() ? variables : json::array()) {
        if (const auto value = postmanValue::text(variable, "value"); !value.empty()) {
            substitutePathVariable(text, postmanValue::text(variable, "key"), value);
        }
    }
    return text;
}

std::vector<KeyValue> formDataRows(const json& list) {
    auto rows = rowsOf(list, false);
    std::size_t row = 0;
    for (const auto& entry : rows.empty() ? json::array() : list) {
        if (!entry.is_object()) continue;
        if (postmanValue::text(entry, "type") == "file") {
            const auto& src = postmanValue::member(entry, "src");
            const auto path = src.is_array() && !src.empty() && src[0].is_string() ? src[0].get<std::string>() : postmanValue::text(entry, "src");
            rows[row].value = path.empty() ? "" : "@" + path;
        }
        ++row;
    }
    return rows;
}

BodyKind rawKind(const json& body, const std::vector<KeyValue>& headers) {
    auto language = postmanValue::text(postmanValue::member(postmanValue::member(body, "options"), "raw"), "language");
    if (language.empty()) {
        const auto contentType = std::find_if(headers.begin(), headers.end(), [](const KeyValue& row) {
            return caseInsensitive::equal(row.key, "Content-Type");
        });
        if (contentType != headers.end()) language = contentType->value;
    }
    if (language.find("json") != std::string::npos) return BodyKind::json;
    if (language.find("xml") != std::string::npos) return BodyKind::xml;
    return BodyKind::text;
}

// A GraphQL body is sent as the JSON object {"query": ..., "variables": ...}.
std::string graphQLText(const json& graphql) {
    const auto variablesText = postmanValue::text(graphql, "variables");
    auto variables = json::parse(variablesText, nullptr, false);
    if (variables.is_discarded()) variables = variablesText.empty() ? json::object() : json(variablesText);
    return json{{"query", postmanValue::text(graphql, "query")}, {"variables", std::move(variables)}}.dump();
}

RequestBody readBody(const json& body, const std::vector<KeyValue>& headers) {
    RequestBody result;
    if (!body.is_object()) return result;
    const auto mode = postmanValue::text(body, "mode");
    // Early writers kept the data of every mode under "content".
    const auto& content = postmanValue::member(body, "content");
    result.raw = body.contains("raw") ? postmanValue::text(body, "raw") : postmanValue::text(body, "content");
    if (mode == "formdata" || !body.contains("urlencoded")) result.form = formDataRows(body.contains("formdata") ? body["formdata"] : content);
    else result.form = rowsOf(body["urlencoded"], false);
    if (mode == "raw") result.kind = rawKind(body, headers);
    else if (mode == "urlencoded") result.kind = BodyKind::formURLEncoded;
    else if (mode == "formdata") result.kind = BodyKind::multipart;
    else if (mode == "graphql") {
        result.kind = BodyKind::json;
        result.raw = graphQLText(postmanValue::member(body, "graphql"));
    }
    if (postmanValue::flag(body, "disabled", false)) result.kind = BodyKind::none;
    return result;
}

struct ImportContext {
    bool stripsBaseURL = false;
};

APIRequest readRequest(const json& item, const std::optional<Auth>& folderAuth, const ImportContext& context) {
    const auto& document = postmanValue::member(item, "request");
    APIRequest request{.name = postmanValue::text(item, "name")};
    auto method = postmanValue::text(document, "method");
    std::transform(method.begin(), method.end(), method.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    request.method = parseEnum<HTTPMethod>(method).value_or(HTTPMethod::get);
    // v2.0 allows the request to be just its URL.
    request.url = readURL(document.is_string() ? document : postmanValue::member(document, "url"), request.query);
    if (context.stripsBaseURL && request.url.starts_with(baseURLReference)) request.url.erase(0, baseURLReference.size());
    request.headers = headerRows(postmanValue::member(document, "header"));
    const auto& body = postmanValue::member(document, "body");
    request.body = readBody(body.is_null() ? postmanValue::member(document, "data") : body, request.headers);
    const auto& auth = postmanValue::member(document, "auth");
    request.auth = auth.is_object() ? postmanAuth::read(auth) : folderAuth.value_or(Auth{.kind = AuthKind::inherit});
    if (request.name.empty()) request.name = requestName(request.method, request.url);
    request.notes = postmanValue::description(document);
    if (!method.empty() && toString(request.method) != method) {
        if (!request.notes.empty()) request.notes += '\n';
        request.notes.append("The method ").append(method).append(" is not supported; imported as GET.");
    }
    const auto& behaviour = postmanValue::member(item, "protocolProfileBehavior");
    request.followRedirects = postmanValue::flag(behaviour, "followRedirects", true);
    if (const auto& timeout = postmanValue::member(behaviour, "timeout"); timeout.is_number()) {
        request.timeout = timeout.get<double>() / millisecondsPerSecond;
    }
    return request;
}

std::vector<CollectionItem> readItems(const json& items, const std::optional<Auth>& folderAuth, const ImportContext& context) {
    std::vector<CollectionItem> result;
    if (!items.is_array()) return result;
    for (const auto& item : items) {
        if (!item.is_object()) continue;
        if (item.contains("item")) {
            const auto& auth = postmanValue::member(item, "auth");
            const auto inherited = auth.is_object() ? std::optional(postmanAuth::read(auth)) : folderAuth;
            result.emplace_back(Folder(Uuid::random(), postmanValue::text(item, "name"), readItems(item["item"], inherited, context)));
        } else {
            result.emplace_back(readRequest(item, folderAuth, context));
        }
    }
    return result;
}

APICollection readCollection(const json& document) {
    const auto& info = document["info"];
    const auto schema = postmanValue::text(info, "schema");
    if (schema.find("v1.") != std::string::npos) throw ImportError::notPostman();
    APICollection collection{.name = postmanValue::text(info, "name"), .notes = postmanValue::description(info)};
    collection.variables = rowsOf(document.contains("variable") ? document["variable"] : postmanValue::member(document, "variables"), false);
    ImportContext context;
    if (!collection.variables.empty() && collection.variables.front().key == baseURLVariable) {
        collection.baseURL = collection.variables.front().value;
        collection.variables.erase(collection.variables.begin());
        context.stripsBaseURL = true;
    }
    const auto& auth = postmanValue::member(document, "auth");
    if (auth.is_object()) collection.auth = postmanAuth::read(auth);
    collection.items = readItems(postmanValue::member(document, "item"), std::nullopt, context);
    return collection;
}

}  // namespace

std::string PostmanFormat::exportCollection(const APICollection& collection) {
    json info{{"_postman_id", collection.id.lowercaseText()}, {"name", collection.name}, {"schema", schemaURL}};
    if (!collection.notes.empty()) info["description"] = collection.notes;
    const auto variables = collection.effectiveVariables();
    const bool hasBaseURL = std::any_of(variables.begin(), variables.end(), [](const KeyValue& row) { return row.key == baseURLVariable; });
    json document{{"info", std::move(info)}, {"item", itemList(collection.items, hasBaseURL)}, {"variable", keyValues(variables)}};
    for (auto& variable : document["variable"]) variable["type"] = "string";
    if (collection.auth.kind != AuthKind::none) {
        if (auto auth = postmanAuth::document(collection.auth)) document["auth"] = std::move(*auth);
    }
    return JSONWriter::write(std::move(document));
}

std::string PostmanFormat::exportEnvironment(const APIEnvironment& environment) {
    json values = json::array();
    for (const auto& row : environment.variables) {
        values.push_back({{"key", row.key}, {"value", row.value}, {"type", "default"}, {"enabled", row.enabled}});
    }
    return JSONWriter::write({{"id", environment.id.lowercaseText()},
                              {"name", environment.name},
                              {"values", std::move(values)},
                              {"_postman_variable_scope", "environment"}});
}

PostmanFormat::Document PostmanFormat::importDocument(std::string_view text) {
    const auto document = json::parse(utf8::repaired(text), nullptr, false);
    if (document.is_discarded()) throw ImportError::notJSON("a Postman document");
    if (!document.is_object()) throw ImportError::notPostman();
    if (document.contains("info") && document["info"].is_object()) return readCollection(document);
    if (document.contains("values") && document["values"].is_array()) {
        return APIEnvironment{.name = postmanValue::text(document, "name"), .variables = rowsOf(document["values"], false)};
    }
    throw ImportError::notPostman();
}

APICollection PostmanFormat::importCollection(std::string_view text) {
    auto document = importDocument(text);
    if (auto* collection = std::get_if<APICollection>(&document)) return std::move(*collection);
    throw ImportError::notPostman();
}

}  // namespace tessaline
