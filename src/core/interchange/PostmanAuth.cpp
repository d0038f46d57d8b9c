#include "core/interchange/PostmanAuth.hpp"

#include "core/interchange/PostmanValue.hpp"

#include <array>

namespace tessaline::postmanAuth {
namespace {

using nlohmann::json;

constexpr std::array grantNames{
    std::pair{OAuth2Grant::authorizationCode, std::string_view("authorization_code")},
    std::pair{OAuth2Grant::clientCredentials, std::string_view("client_credentials")},
    std::pair{OAuth2Grant::password, std::string_view("password_credentials")},
    std::pair{OAuth2Grant::deviceCode, std::string_view("device_code")},
    std::pair{OAuth2Grant::refreshToken, std::string_view("refresh_token")},
};
constexpr std::string_view pkceGrant = "authorization_code_with_pkce";

std::string_view grantName(const OAuth2Config& config) {
    if (config.grant == OAuth2Grant::authorizationCode && config.usePKCE) return pkceGrant;
    for (const auto& [grant, name] : grantNames) {
        if (grant == config.grant) return name;
    }
    return {};
}

std::optional<OAuth2Grant> grantNamed(std::string_view name) {
    if (name == pkceGrant) return OAuth2Grant::authorizationCode;
    for (const auto& [grant, grantText] : grantNames) {
        if (grantText == name) return grant;
    }
    return std::nullopt;
}

// One attribute of a v2.1 list.
json attribute(std::string_view key, json value) {
    const auto type = value.is_boolean() ? "boolean" : value.is_string() ? "string" : "any";
    return {{"key", key}, {"value", std::move(value)}, {"type", type}};
}

json parameters(const std::vector<KeyValue>& rows, std::string_view sendAs) {
    json list = json::array();
    for (const auto& row : rows) {
        list.push_back({{"key", row.key}, {"value", row.value}, {"enabled", row.enabled}, {"send_as", sendAs}});
    }
    return list;
}

json oauth2Attributes(const OAuth2Config& config) {
    return json::array({
        attribute("grant_type", std::string(grantName(config))),
        attribute("authUrl", config.authURL),
        attribute("accessTokenUrl", config.tokenURL),
        attribute("deviceAuthUrl", config.deviceAuthURL),
        attribute("clientId", config.clientID),
        attribute("clientSecret", config.clientSecret),
        attribute("scope", config.scope),
        attribute("redirect_uri", config.redirectURI),
        attribute("usePkce", config.usePKCE),
        attribute("client_authentication", config.clientAuth == OAuth2ClientAuth::body ? "body" : "header"),
        attribute("username", config.username),
        attribute("password", config.password),
        attribute("refreshToken", config.refreshToken),
        attribute("authRequestParams", parameters(config.authParams, "request_url")),
        attribute("tokenRequestParams", parameters(config.tokenParams, "request_body")),
        attribute("addTokenTo", config.placement == OAuth2TokenPlacement::query ? "queryParams" : "header"),
        attribute("headerPrefix", config.headerPrefix),
        attribute("queryParamName", config.queryParamName),
        attribute("useIdToken", config.useIDToken),
    });
}

// The attributes of one kind as a map, from a v2.1 list of {key, value} or a v2.0 object.
json attributes(const json& auth, std::string_view kind) {
    json map = json::object();
    const auto found = auth.find(kind);
    if (found == auth.end()) return map;
    if (found->is_object()) return *found;
    if (!found->is_array()) return map;
    for (const auto& entry : *found) {
        if (entry.is_object() && entry.contains("key") && entry["key"].is_string()) map[entry["key"].get<std::string>()] = postmanValue::member(entry, "value");
    }
    return map;
}

std::vector<KeyValue> parameterRows(const json& list) {
    std::vector<KeyValue> rows;
    if (!list.is_array()) return rows;
    for (const auto& entry : list) {
        rows.push_back({.key = postmanValue::text(entry, "key"), .value = postmanValue::text(entry, "value"),
                        .enabled = postmanValue::flag(entry, "enabled", true) && !postmanValue::flag(entry, "disabled", false)});
    }
    return rows;
}

OAuth2Config readOAuth2(const json& map) {
    OAuth2Config config;
    // Older documents spell some keys differently; the first present spelling counts.
    const auto text = [&](std::initializer_list<const char*> keys) {
        for (const char* key : keys) {
            if (map.contains(key)) return postmanValue::text(map, key);
        }
        return std::string();
    };
    const auto grant = text({"grant_type", "grantType"});
    config.grant = grantNamed(grant).value_or(OAuth2Grant::authorizationCode);
    config.usePKCE = map.contains("usePkce") ? postmanValue::flag(map, "usePkce", true) : grant != "authorization_code";
    config.authURL = text({"authUrl"});
    config.tokenURL = text({"accessTokenUrl"});
    config.deviceAuthURL = text({"deviceAuthUrl"});
    config.clientID = text({"clientId"});
    config.clientSecret = text({"clientSecret"});
    config.scope = text({"scope"});
    config.redirectURI = text({"redirect_uri", "redirectUri", "callBackUrl"});
    config.clientAuth = text({"client_authentication", "clientAuth"}) == "body" ? OAuth2ClientAuth::body : OAuth2ClientAuth::basicHeader;
    config.username = text({"username"});
    config.password = text({"password"});
    config.refreshToken = text({"refreshToken"});
    config.authParams = parameterRows(postmanValue::member(map, "authRequestParams"));
    config.tokenParams = parameterRows(postmanValue::member(map, "tokenRequestParams"));
    config.placement = text({"addTokenTo"}) == "queryParams" ? OAuth2TokenPlacement::query : OAuth2TokenPlacement::header;
    if (map.contains("headerPrefix")) config.headerPrefix = text({"headerPrefix"});
    if (map.contains("queryParamName")) config.queryParamName = text({"queryParamName"});
    config.useIDToken = postmanValue::flag(map, "useIdToken", false);
    return config;
}

}  // namespace

std::optional<json> document(const Auth& auth) {
    static constexpr std::array kindNames{
        std::pair{AuthKind::none, "noauth"}, std::pair{AuthKind::bearer, "bearer"}, std::pair{AuthKind::basic, "basic"},
        std::pair{AuthKind::apiKey, "apikey"}, std::pair{AuthKind::oauth2, "oauth2"},
    };
    json object;
    for (const auto& [kind, name] : kindNames) {
        if (kind == auth.kind) object["type"] = name;
    }
    if (!object.contains("type")) return std::nullopt;
    const Auth defaults;
    if (auth.kind == AuthKind::bearer || auth.token != defaults.token) {
        object["bearer"] = json::array({attribute("token", auth.token)});
    }
    if (auth.kind == AuthKind::basic || auth.username != defaults.username || auth.password != defaults.password) {
        object["basic"] = json::array({attribute("username", auth.username), attribute("password", auth.password)});
    }
    if (auth.kind == AuthKind::apiKey || auth.apiKeyName != defaults.apiKeyName || auth.apiKeyValue != defaults.apiKeyValue ||
        auth.apiKeyIn != defaults.apiKeyIn) {
        object["apikey"] = json::array({attribute("key", auth.apiKeyName), attribute("value", auth.apiKeyValue),
                                        attribute("in", std::string(toString(auth.apiKeyIn)))});
    }
    if (auth.oauth2) object["oauth2"] = oauth2Attributes(*auth.oauth2);
    return object;
}

Auth read(const json& auth) {
    Auth result;
    if (!auth.is_object()) return result;
    const auto type = postmanValue::text(auth, "type");
    const auto bearer = attributes(auth, "bearer");
    const auto basic = attributes(auth, "basic");
    const auto apiKey = attributes(auth, "apikey");
    result.token = postmanValue::text(bearer, "token");
    result.username = postmanValue::text(basic, "username");
    result.password = postmanValue::text(basic, "password");
    if (apiKey.contains("key")) result.apiKeyName = postmanValue::text(apiKey, "key");
    result.apiKeyValue = postmanValue::text(apiKey, "value");
    result.apiKeyIn = postmanValue::text(apiKey, "in") == "query" ? APIKeyLocation::query : APIKeyLocation::header;
    if (auth.contains("oauth2")) result.oauth2 = readOAuth2(attributes(auth, "oauth2"));
    if (type == "bearer") result.kind = AuthKind::bearer;
    else if (type == "basic") result.kind = AuthKind::basic;
    else if (type == "apikey") result.kind = AuthKind::apiKey;
    else if (type == "oauth2") result.kind = AuthKind::oauth2;
    return result;
}

}  // namespace tessaline::postmanAuth
