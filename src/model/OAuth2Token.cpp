#include "model/OAuth2Token.hpp"

namespace tessaline {

nlohmann::json toJSON(const OAuth2Token& token) {
    nlohmann::json object{
        {"accessToken", token.accessToken},
        {"tokenType", token.tokenType},
        {"obtainedAt", iso8601(token.obtainedAt)},
    };
    if (token.refreshToken) object["refreshToken"] = *token.refreshToken;
    if (token.idToken) object["idToken"] = *token.idToken;
    if (token.scope) object["scope"] = *token.scope;
    if (token.expiresAt) object["expiresAt"] = iso8601(*token.expiresAt);
    return object;
}

OAuth2Token decodeOAuth2Token(const JSONReader& reader) {
    const auto optionalText = [&reader](std::string_view key) -> std::optional<std::string> {
        if (const auto member = reader.optionalMember(key)) return member->string();
        return std::nullopt;
    };
    std::optional<Date> expiresAt;
    if (const auto member = reader.optionalMember("expiresAt")) expiresAt = member->date();
    return {
        .accessToken = reader.member("accessToken").string(),
        .tokenType = reader.member("tokenType").string(),
        .refreshToken = optionalText("refreshToken"),
        .idToken = optionalText("idToken"),
        .scope = optionalText("scope"),
        .expiresAt = expiresAt,
        .obtainedAt = reader.member("obtainedAt").date(),
    };
}

}  // namespace tessaline
