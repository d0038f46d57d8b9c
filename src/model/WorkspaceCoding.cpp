#include "model/WorkspaceCoding.hpp"

#include "support/JSONWriter.hpp"
#include "support/Overloaded.hpp"

namespace tessaline {
namespace {

using json = nlohmann::json;

template <class Enum>
json rawText(Enum value) {
    return json(std::string(rawValue(value)));
}

template <class Record>
json array(const std::vector<Record>& records) {
    json result = json::array();
    result.get_ref<json::array_t&>().reserve(records.size());
    for (const auto& record : records) result.push_back(toJSON(record));
    return result;
}

// Overwrites `field` with the member under key when it is there and not null.
template <class Value, class Decode>
void readOptional(const JSONReader& reader, std::string_view key, Value& field, Decode decode) {
    if (const auto member = reader.optionalMember(key)) field = decode(*member);
}

std::string readString(const JSONReader& reader) { return reader.string(); }
bool readBoolean(const JSONReader& reader) { return reader.boolean(); }

std::vector<CollectionItem> decodeItems(const JSONReader& reader) { return reader.array(decodeCollectionItem); }

}  // namespace

// MARK: encoding

std::string encodeWorkspace(const Workspace& workspace) { return jsonWriter::write(toJSON(workspace)); }

json toJSON(const Workspace& workspace) {
    json object{
        {"version", workspace.version},
        {"collections", array(workspace.collections)},
        {"environments", array(workspace.environments)},
    };
    if (workspace.activeEnvironmentID) object["activeEnvironmentID"] = workspace.activeEnvironmentID->text();
    return object;
}

json toJSON(const APICollection& collection) {
    return {
        {"id", collection.id.text()},
        {"name", collection.name},
        {"items", array(collection.items)},
        {"variables", toJSON(collection.variables)},
        {"auth", toJSON(collection.auth)},
        {"notes", collection.notes},
        {"baseURL", collection.baseURL},
        {"icon", collection.icon},
        {"color", collection.color},
    };
}

json toJSON(const CollectionItem& item) {
    return std::visit(Overloaded{
                          [](const Folder& folder) { return json{{"folder", {{"_0", toJSON(folder)}}}}; },
                          [](const APIRequest& request) { return json{{"request", {{"_0", toJSON(request)}}}}; },
                      },
                      item.payload);
}

json toJSON(const Folder& folder) {
    return {{"id", folder.id.text()}, {"name", folder.name}, {"items", array(folder.items)}};
}

json toJSON(const APIRequest& request) {
    return {
        {"id", request.id.text()},
        {"name", request.name},
        {"method", rawText(request.method)},
        {"url", request.url},
        {"query", toJSON(request.query)},
        {"headers", toJSON(request.headers)},
        {"body", toJSON(request.body)},
        {"auth", toJSON(request.auth)},
        {"notes", request.notes},
        {"followRedirects", request.followRedirects},
        {"timeout", request.timeout},
    };
}

json toJSON(const KeyValue& row) {
    return {{"id", row.id.text()}, {"key", row.key}, {"value", row.value}, {"enabled", row.enabled}};
}

json toJSON(const std::vector<KeyValue>& rows) { return array(rows); }

json toJSON(const RequestBody& body) {
    return {{"kind", rawText(body.kind)}, {"raw", body.raw}, {"form", toJSON(body.form)}};
}

json toJSON(const Auth& auth) {
    json object{
        {"kind", rawText(auth.kind)},
        {"token", auth.token},
        {"username", auth.username},
        {"password", auth.password},
        {"apiKeyName", auth.apiKeyName},
        {"apiKeyValue", auth.apiKeyValue},
        {"apiKeyIn", rawText(auth.apiKeyIn)},
    };
    if (auth.oauth2) object["oauth2"] = toJSON(*auth.oauth2);
    return object;
}

json toJSON(const OAuth2Config& config) {
    return {
        {"grant", rawText(config.grant)},
        {"authURL", config.authURL},
        {"tokenURL", config.tokenURL},
        {"deviceAuthURL", config.deviceAuthURL},
        {"clientID", config.clientID},
        {"clientSecret", config.clientSecret},
        {"scope", config.scope},
        {"redirectURI", config.redirectURI},
        {"usePKCE", config.usePKCE},
        {"clientAuth", rawText(config.clientAuth)},
        {"username", config.username},
        {"password", config.password},
        {"refreshToken", config.refreshToken},
        {"authParams", toJSON(config.authParams)},
        {"tokenParams", toJSON(config.tokenParams)},
        {"placement", rawText(config.placement)},
        {"headerPrefix", config.headerPrefix},
        {"queryParamName", config.queryParamName},
        {"useIDToken", config.useIDToken},
    };
}

json toJSON(const APIEnvironment& environment) {
    return {{"id", environment.id.text()}, {"name", environment.name}, {"variables", toJSON(environment.variables)}};
}

// MARK: decoding

Workspace decodeWorkspace(std::string_view bytes) {
    const json document = JSONReader::parse(bytes);
    return decodeWorkspace(JSONReader(document));
}

Workspace decodeWorkspace(const JSONReader& reader) {
    std::optional<Uuid> activeEnvironmentID;
    if (const auto member = reader.optionalMember("activeEnvironmentID")) activeEnvironmentID = member->uuid();
    return {
        .version = reader.member("version").integer(),
        .collections = reader.member("collections").array(decodeAPICollection),
        .environments = reader.member("environments").array(decodeAPIEnvironment),
        .activeEnvironmentID = activeEnvironmentID,
    };
}

APICollection decodeAPICollection(const JSONReader& reader) {
    APICollection collection{.id = reader.member("id").uuid(), .name = reader.member("name").string()};
    readOptional(reader, "items", collection.items, decodeItems);
    readOptional(reader, "variables", collection.variables, decodeKeyValues);
    readOptional(reader, "auth", collection.auth, decodeAuth);
    readOptional(reader, "notes", collection.notes, readString);
    readOptional(reader, "baseURL", collection.baseURL, readString);
    readOptional(reader, "icon", collection.icon, readString);
    readOptional(reader, "color", collection.color, readString);
    return collection;
}

CollectionItem decodeCollectionItem(const JSONReader& reader) {
    const auto& members = reader.object();
    const bool isFolder = members.contains("folder");
    if (isFolder == members.contains("request")) {
        reader.fail(DecodingError::Kind::typeMismatch, "Invalid number of keys found, expected one.");
    }
    if (isFolder) return decodeFolder(reader.member("folder").member("_0"));
    return decodeAPIRequest(reader.member("request").member("_0"));
}

Folder decodeFolder(const JSONReader& reader) {
    auto id = reader.member("id").uuid();
    auto name = reader.member("name").string();
    return Folder(id, std::move(name), decodeItems(reader.member("items")));
}

APIRequest decodeAPIRequest(const JSONReader& reader) {
    return {
        .id = reader.member("id").uuid(),
        .name = reader.member("name").string(),
        .method = decodeEnum<HTTPMethod>(reader.member("method")),
        .url = reader.member("url").string(),
        .query = decodeKeyValues(reader.member("query")),
        .headers = decodeKeyValues(reader.member("headers")),
        .body = decodeRequestBody(reader.member("body")),
        .auth = decodeAuth(reader.member("auth")),
        .notes = reader.member("notes").string(),
        .followRedirects = reader.member("followRedirects").boolean(),
        .timeout = reader.member("timeout").number(),
    };
}

KeyValue decodeKeyValue(const JSONReader& reader) {
    return {
        .id = reader.member("id").uuid(),
        .key = reader.member("key").string(),
        .value = reader.member("value").string(),
        .enabled = reader.member("enabled").boolean(),
    };
}

std::vector<KeyValue> decodeKeyValues(const JSONReader& reader) { return reader.array(decodeKeyValue); }

RequestBody decodeRequestBody(const JSONReader& reader) {
    return {
        .kind = decodeEnum<BodyKind>(reader.member("kind")),
        .raw = reader.member("raw").string(),
        .form = decodeKeyValues(reader.member("form")),
    };
}

Auth decodeAuth(const JSONReader& reader) {
    std::optional<OAuth2Config> oauth2;
    if (const auto member = reader.optionalMember("oauth2")) oauth2 = decodeOAuth2Config(*member);
    return {
        .kind = decodeEnum<AuthKind>(reader.member("kind")),
        .token = reader.member("token").string(),
        .username = reader.member("username").string(),
        .password = reader.member("password").string(),
        .apiKeyName = reader.member("apiKeyName").string(),
        .apiKeyValue = reader.member("apiKeyValue").string(),
        .apiKeyIn = decodeEnum<APIKeyLocation>(reader.member("apiKeyIn")),
        .oauth2 = std::move(oauth2),
    };
}

OAuth2Config decodeOAuth2Config(const JSONReader& reader) {
    reader.object();
    OAuth2Config config;
    readOptional(reader, "grant", config.grant, decodeEnum<OAuth2Grant>);
    readOptional(reader, "authURL", config.authURL, readString);
    readOptional(reader, "tokenURL", config.tokenURL, readString);
    readOptional(reader, "deviceAuthURL", config.deviceAuthURL, readString);
    readOptional(reader, "clientID", config.clientID, readString);
    readOptional(reader, "clientSecret", config.clientSecret, readString);
    readOptional(reader, "scope", config.scope, readString);
    readOptional(reader, "redirectURI", config.redirectURI, readString);
    readOptional(reader, "usePKCE", config.usePKCE, readBoolean);
    readOptional(reader, "clientAuth", config.clientAuth, decodeEnum<OAuth2ClientAuth>);
    readOptional(reader, "username", config.username, readString);
    readOptional(reader, "password", config.password, readString);
    readOptional(reader, "refreshToken", config.refreshToken, readString);
    readOptional(reader, "authParams", config.authParams, decodeKeyValues);
    readOptional(reader, "tokenParams", config.tokenParams, decodeKeyValues);
    readOptional(reader, "placement", config.placement, decodeEnum<OAuth2TokenPlacement>);
    readOptional(reader, "headerPrefix", config.headerPrefix, readString);
    readOptional(reader, "queryParamName", config.queryParamName, readString);
    readOptional(reader, "useIDToken", config.useIDToken, readBoolean);
    return config;
}

APIEnvironment decodeAPIEnvironment(const JSONReader& reader) {
    return {
        .id = reader.member("id").uuid(),
        .name = reader.member("name").string(),
        .variables = decodeKeyValues(reader.member("variables")),
    };
}

}  // namespace tessaline
