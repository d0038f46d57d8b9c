#include "core/oauth/OAuth2ResolvedConfig.hpp"

#include "core/http/URLComponents.hpp"
#include "core/support/Crypto.hpp"
#include "core/support/Hexadecimal.hpp"
#include "core/support/Trimmed.hpp"

#include <algorithm>

namespace tessaline {
namespace {

std::vector<KeyValue> resolvedRows(const std::vector<KeyValue>& rows, const VariableResolver& resolver) {
    std::vector<KeyValue> result;
    for (const auto& row : rows) {
        if (!row.enabled || row.key.empty()) continue;
        auto copy = row;
        copy.key = std::string(trimmed(resolver.resolve(row.key)));
        copy.value = resolver.resolve(row.value);
        result.push_back(std::move(copy));
    }
    return result;
}

void appendEnabledValues(std::vector<std::string>& fields, const std::vector<KeyValue>& rows) {
    for (const auto& row : rows) {
        if (row.enabled) fields.push_back(row.value);
    }
}

}  // namespace

OAuth2ResolvedConfig resolved(const OAuth2Config& config, const VariableResolver& resolver) {
    OAuth2ResolvedConfig result{config};
    for (auto* text : {&result.authURL, &result.tokenURL, &result.deviceAuthURL, &result.clientID, &result.scope,
                       &result.redirectURI, &result.username, &result.refreshToken}) {
        *text = std::string(trimmed(resolver.resolve(*text)));
    }
    for (auto* secret : {&result.clientSecret, &result.password}) *secret = resolver.resolve(*secret);
    if (result.redirectURI.empty()) result.redirectURI = defaultRedirectURI;
    result.authParams = resolvedRows(config.authParams, resolver);
    result.tokenParams = resolvedRows(config.tokenParams, resolver);
    return result;
}

std::vector<std::string> activeFields(const OAuth2Config& config) {
    std::vector<std::string> fields{config.tokenURL, config.clientID, config.clientSecret, config.scope};
    switch (config.grant) {
    case OAuth2Grant::authorizationCode:
        fields.insert(fields.end(), {config.authURL, config.redirectURI});
        break;
    case OAuth2Grant::clientCredentials: break;
    case OAuth2Grant::password: fields.insert(fields.end(), {config.username, config.password}); break;
    case OAuth2Grant::deviceCode: fields.push_back(config.deviceAuthURL); break;
    case OAuth2Grant::refreshToken: fields.push_back(config.refreshToken); break;
    }
    appendEnabledValues(fields, config.authParams);
    appendEnabledValues(fields, config.tokenParams);
    return fields;
}

std::vector<std::string> unresolvedNames(const OAuth2Config& config, const VariableResolver& resolver) {
    std::vector<std::string> names;
    for (const auto& field : activeFields(config)) {
        for (auto& name : resolver.unresolvedNames(field)) {
            if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(std::move(name));
        }
    }
    return names;
}

std::string OAuth2ResolvedConfig::cacheKey() const {
    constexpr char unitSeparator = '\x1F';
    std::string joined(toString(grant));
    for (const auto* field : {&authURL, &tokenURL, &deviceAuthURL, &clientID, &clientSecret, &scope, &username,
                              &refreshToken}) {
        joined += unitSeparator;
        joined += *field;
    }
    for (const auto& row : authParams) joined += unitSeparator + ("a:" + row.key + "=" + row.value);
    for (const auto& row : tokenParams) joined += unitSeparator + ("t:" + row.key + "=" + row.value);

    const auto digest = crypto::sha256(joined);
    std::string key;
    for (std::size_t i = 0; i < 16; ++i) hexadecimal::appendByte(key, digest[i], hexadecimal::lowerDigits);
    return key;
}

std::string OAuth2ResolvedConfig::label() const {
    const auto url = URLComponents::parse(tokenURL);
    const auto host = url ? url->host() : std::nullopt;
    return (host && !host->empty() ? *host : tokenURL) + " · " +
           (clientID.empty() ? std::string(displayName(grant)) : clientID);
}

}  // namespace tessaline
