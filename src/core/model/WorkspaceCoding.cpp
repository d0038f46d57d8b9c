#include "core/model/WorkspaceCoding.hpp"

#include "core/support/Overloaded.hpp"

namespace tessaline {
namespace {

template <class Enum>
void writeRaw(JSONWriter& writer, Enum value) {
    writer.value(toString(value));
}

template <class Record>
void writeArray(JSONWriter& writer, const std::vector<Record>& records) {
    writer.beginArray();
    for (const auto& record : records) write(writer, record);
    writer.endArray();
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

// Writing the records. Keys go in ascending byte order, as the writer requires.

std::string encodeWorkspace(const Workspace& workspace) {
    JSONWriter writer;
    write(writer, workspace);
    return std::move(writer).text();
}

void write(JSONWriter& writer, const Workspace& workspace) {
    writer.beginObject();
    if (workspace.activeEnvironmentID) writer.key("activeEnvironmentID"), writer.value(workspace.activeEnvironmentID->text());
    writer.key("collections"), writeArray(writer, workspace.collections);
    writer.key("environments"), writeArray(writer, workspace.environments);
    writer.key("version"), writer.value(workspace.version);
    writer.endObject();
}

void write(JSONWriter& writer, const APICollection& collection) {
    writer.beginObject();
    writer.key("auth"), write(writer, collection.auth);
    writer.key("baseURL"), writer.value(collection.baseURL);
    writer.key("color"), writer.value(collection.color);
    writer.key("icon"), writer.value(collection.icon);
    writer.key("id"), writer.value(collection.id.text());
    writer.key("items"), writeArray(writer, collection.items);
    writer.key("name"), writer.value(collection.name);
    writer.key("notes"), writer.value(collection.notes);
    writer.key("variables"), writeArray(writer, collection.variables);
    writer.endObject();
}

void write(JSONWriter& writer, const CollectionItem& item) {
    writer.beginObject();
    std::visit(Overloaded{
                   [&writer](const Folder& folder) { writer.key("folder"), writer.beginObject(), writer.key("_0"), write(writer, folder); },
                   [&writer](const APIRequest& request) { writer.key("request"), writer.beginObject(), writer.key("_0"), write(writer, request); },
               },
               item.payload);
    writer.endObject();
    writer.endObject();
}

void write(JSONWriter& writer, const Folder& folder) {
    writer.beginObject();
    writer.key("id"), writer.value(folder.id.text());
    writer.key("items"), writeArray(writer, folder.items);
    writer.key("name"), writer.value(folder.name);
    writer.endObject();
}

void write(JSONWriter& writer, const APIRequest& request) {
    writer.beginObject();
    writer.key("auth"), write(writer, request.auth);
    writer.key("body"), write(writer, request.body);
    writer.key("followRedirects"), writer.value(request.followRedirects);
    writer.key("headers"), writeArray(writer, request.headers);
    writer.key("id"), writer.value(request.id.text());
    writer.key("method"), writeRaw(writer, request.method);
    writer.key("name"), writer.value(request.name);
    writer.key("notes"), writer.value(request.notes);
    writer.key("query"), writeArray(writer, request.query);
    writer.key("timeout"), writer.value(request.timeout);
    writer.key("url"), writer.value(request.url);
    writer.endObject();
}

void write(JSONWriter& writer, const KeyValue& row) {
    writer.beginObject();
    writer.key("enabled"), writer.value(row.enabled);
    writer.key("id"), writer.value(row.id.text());
    writer.key("key"), writer.value(row.key);
    writer.key("value"), writer.value(row.value);
    writer.endObject();
}

void write(JSONWriter& writer, const std::vector<KeyValue>& rows) { writeArray(writer, rows); }

void write(JSONWriter& writer, const RequestBody& body) {
    writer.beginObject();
    writer.key("form"), writeArray(writer, body.form);
    writer.key("kind"), writeRaw(writer, body.kind);
    writer.key("raw"), writer.value(body.raw);
    writer.endObject();
}

void write(JSONWriter& writer, const Auth& auth) {
    writer.beginObject();
    writer.key("apiKeyIn"), writeRaw(writer, auth.apiKeyIn);
    writer.key("apiKeyName"), writer.value(auth.apiKeyName);
    writer.key("apiKeyValue"), writer.value(auth.apiKeyValue);
    writer.key("kind"), writeRaw(writer, auth.kind);
    if (auth.oauth2) writer.key("oauth2"), write(writer, *auth.oauth2);
    writer.key("password"), writer.value(auth.password);
    writer.key("token"), writer.value(auth.token);
    writer.key("username"), writer.value(auth.username);
    writer.endObject();
}

void write(JSONWriter& writer, const OAuth2Config& config) {
    writer.beginObject();
    writer.key("authParams"), writeArray(writer, config.authParams);
    writer.key("authURL"), writer.value(config.authURL);
    writer.key("clientAuth"), writeRaw(writer, config.clientAuth);
    writer.key("clientID"), writer.value(config.clientID);
    writer.key("clientSecret"), writer.value(config.clientSecret);
    writer.key("deviceAuthURL"), writer.value(config.deviceAuthURL);
    writer.key("grant"), writeRaw(writer, config.grant);
    writer.key("headerPrefix"), writer.value(config.headerPrefix);
    writer.key("password"), writer.value(config.password);
    writer.key("placement"), writeRaw(writer, config.placement);
    writer.key("queryParamName"), writer.value(config.queryParamName);
    writer.key("redirectURI"), writer.value(config.redirectURI);
    writer.key("refreshToken"), writer.value(config.refreshToken);
    writer.key("scope"), writer.value(config.scope);
    writer.key("tokenParams"), writeArray(writer, config.tokenParams);
    writer.key("tokenURL"), writer.value(config.tokenURL);
    writer.key("useIDToken"), writer.value(config.useIDToken);
    writer.key("usePKCE"), writer.value(config.usePKCE);
    writer.key("username"), writer.value(config.username);
    writer.endObject();
}

void write(JSONWriter& writer, const APIEnvironment& environment) {
    writer.beginObject();
    writer.key("id"), writer.value(environment.id.text());
    writer.key("name"), writer.value(environment.name);
    writer.key("variables"), writeArray(writer, environment.variables);
    writer.endObject();
}


// Reading the records.

Workspace decodeWorkspace(std::string_view bytes) {
    const auto document = JSONDocument::parse(bytes);
    return decodeWorkspace(JSONReader(document));
}

Workspace decodeWorkspace(const JSONReader& reader) {
    return {
        .version = reader.member("version").integer(),
        .collections = reader.member("collections").array(decodeAPICollection),
        .environments = reader.member("environments").array(decodeAPIEnvironment),
        .activeEnvironmentID = reader.optionalMember("activeEnvironmentID", &JSONReader::uuid),
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
    const bool isFolder = reader.contains("folder");
    if (isFolder == reader.contains("request")) {
        reader.fail(DecodingError::Kind::wrongType, "Invalid number of keys found, expected one.");
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
    return {
        .kind = decodeEnum<AuthKind>(reader.member("kind")),
        .token = reader.member("token").string(),
        .username = reader.member("username").string(),
        .password = reader.member("password").string(),
        .apiKeyName = reader.member("apiKeyName").string(),
        .apiKeyValue = reader.member("apiKeyValue").string(),
        .apiKeyIn = decodeEnum<APIKeyLocation>(reader.member("apiKeyIn")),
        .oauth2 = reader.optionalMember("oauth2", decodeOAuth2Config),
    };
}

OAuth2Config decodeOAuth2Config(const JSONReader& reader) {
    reader.requireObject();
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
