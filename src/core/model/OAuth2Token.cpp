#include "core/model/OAuth2Token.hpp"

namespace tessaline {

void write(JSONWriter& writer, const OAuth2Token& token) {
    writer.beginObject();
    writer.key("accessToken"), writer.value(token.accessToken);
    if (token.expiresAt) writer.key("expiresAt"), writer.value(iso8601(*token.expiresAt));
    if (token.idToken) writer.key("idToken"), writer.value(*token.idToken);
    writer.key("obtainedAt"), writer.value(iso8601(token.obtainedAt));
    if (token.refreshToken) writer.key("refreshToken"), writer.value(*token.refreshToken);
    if (token.scope) writer.key("scope"), writer.value(*token.scope);
    writer.key("tokenType"), writer.value(token.tokenType);
    writer.endObject();
}

OAuth2Token decodeOAuth2Token(const JSONReader& reader) {
    return {
        .accessToken = reader.member("accessToken").string(),
        .tokenType = reader.member("tokenType").string(),
        .refreshToken = reader.optionalMember("refreshToken", &JSONReader::string),
        .idToken = reader.optionalMember("idToken", &JSONReader::string),
        .scope = reader.optionalMember("scope", &JSONReader::string),
        .expiresAt = reader.optionalMember("expiresAt", &JSONReader::date),
        .obtainedAt = reader.member("obtainedAt").date(),
    };
}

}  // namespace tessaline
