#include "desktop/reference/OAuth2Preset.hpp"

#include <algorithm>

namespace tessaline {
namespace {

void appendMissing(std::vector<KeyValue>& rows, const std::vector<KeyValue>& presetRows) {
    for (const auto& presetRow : presetRows) {
        const bool present =
            std::any_of(rows.begin(), rows.end(), [&presetRow](const KeyValue& row) { return row.key == presetRow.key; });
        if (!present) rows.push_back(KeyValue{.key = presetRow.key, .value = presetRow.value, .enabled = presetRow.enabled});
    }
}

std::vector<OAuth2Preset> makePresets() {
    const std::string entra = "https://login.microsoftonline.com/{{tenantId}}/oauth2/v2.0";
    const std::string auth0 = "https://{{auth0Domain}}";
    const std::string okta = "https://{{oktaDomain}}/oauth2/default/v1";
    return {
        {.name = "GitHub",
         .authURL = "https://github.com/login/oauth/authorize",
         .tokenURL = "https://github.com/login/oauth/access_token",
         .deviceAuthURL = "https://github.com/login/device/code",
         .scope = "read:user repo",
         .note = "Register an OAuth App under Settings → Developer settings; a loopback redirect like "
                 "http://127.0.0.1/callback accepts any port."},
        {.name = "Google",
         .authURL = "https://accounts.google.com/o/oauth2/v2/auth",
         .tokenURL = "https://oauth2.googleapis.com/token",
         .deviceAuthURL = "https://oauth2.googleapis.com/device/code",
         .scope = "openid email profile",
         .authParams = {KeyValue{.key = "access_type", .value = "offline"},
                        KeyValue{.key = "prompt", .value = "consent"}},
         .note = "Use a Desktop app client with a loopback redirect (http://127.0.0.1). access_type=offline asks "
                 "for a refresh token."},
        {.name = "Microsoft Entra ID",
         .authURL = entra + "/authorize",
         .tokenURL = entra + "/token",
         .deviceAuthURL = entra + "/devicecode",
         .scope = "openid profile offline_access User.Read",
         .note = "Define tenantId in your environment (or use common). offline_access returns a refresh token."},
        {.name = "Auth0",
         .authURL = auth0 + "/authorize",
         .tokenURL = auth0 + "/oauth/token",
         .deviceAuthURL = auth0 + "/oauth/device/code",
         .scope = "openid profile offline_access",
         .authParams = {KeyValue{.key = "audience", .value = "{{audience}}"}},
         .tokenParams = {KeyValue{.key = "audience", .value = "{{audience}}"}},
         .note = "Define auth0Domain and audience (your API identifier) in the environment."},
        {.name = "Okta",
         .authURL = okta + "/authorize",
         .tokenURL = okta + "/token",
         .deviceAuthURL = okta + "/device/authorize",
         .scope = "openid profile offline_access",
         .note = "Define oktaDomain in the environment; replace default with your authorization server id."},
        {.name = "Spotify",
         .authURL = "https://accounts.spotify.com/authorize",
         .tokenURL = "https://accounts.spotify.com/api/token",
         .scope = "user-read-private user-read-email",
         .note = "Spotify requires a loopback redirect using 127.0.0.1, registered exactly (including the port)."},
    };
}

}  // namespace

const std::vector<OAuth2Preset>& OAuth2Preset::all() {
    static const std::vector<OAuth2Preset> presets = makePresets();
    return presets;
}

void OAuth2Preset::apply(OAuth2Config& config) const {
    config.authURL = authURL;
    config.tokenURL = tokenURL;
    config.deviceAuthURL = deviceAuthURL;
    if (config.scope.empty()) config.scope = scope;
    appendMissing(config.authParams, authParams);
    appendMissing(config.tokenParams, tokenParams);
}

}  // namespace tessaline
