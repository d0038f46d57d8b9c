#include "core/oauth/TokenEndpoint.hpp"

#include "core/http/CurlEngine.hpp"
#include "core/http/URLComponents.hpp"
#include "core/oauth/OAuth2Error.hpp"
#include "core/support/Base64.hpp"

namespace tessaline {

TokenEndpoint::TokenEndpoint(const OAuth2ResolvedConfig& config, Clock now) : resolved(config), clock(std::move(now)) {}

OAuth2ResponseBody TokenEndpoint::post(const std::string& url, formFields::Fields fields) const {
    for (const auto& row : resolved.tokenParams) fields.emplace_back(row.key, row.value);
    CurlEasy::Request request{
        .method = "POST",
        .url = url,
        .headers = {{"Content-Type", "application/x-www-form-urlencoded"},
                    {"Accept", "application/json"},
                    {"User-Agent", std::string(CurlEasy::userAgent)}},
        .timeout = 60,
    };
    if (resolved.clientAuth == OAuth2ClientAuth::basicHeader && !resolved.clientSecret.empty()) {
        request.headers.emplace_back("Authorization",
                                     "Basic " + base64::encode(resolved.clientID + ":" + resolved.clientSecret));
    } else {
        fields.emplace_back("client_id", resolved.clientID);
        if (!resolved.clientSecret.empty()) fields.emplace_back("client_secret", resolved.clientSecret);
    }
    const std::string form = formFields::encoded(fields, formFields::Blank::escaped);
    request.body = form;

    auto response = CurlEngine::shared().perform(request);
    if (response.error) throw Error(*response.error);
    return {response.status, std::move(response.body)};
}

OAuth2Token TokenEndpoint::requestToken(formFields::Fields fields) const {
    if (!URLComponents::parse(resolved.tokenURL)) throw OAuth2Error::invalidConfig("The token URL is missing or invalid.");
    return post(resolved.tokenURL, std::move(fields)).token(clock());
}

OAuth2Token TokenEndpoint::refresh(const std::string& refreshToken) const {
    auto token = requestToken({{"grant_type", "refresh_token"}, {"refresh_token", refreshToken}});
    if (!token.canRefresh()) token.refreshToken = refreshToken;
    return token;
}

}  // namespace tessaline
