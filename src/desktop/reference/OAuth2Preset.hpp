#pragma once

#include "core/model/KeyValue.hpp"
#include "core/model/OAuth2Config.hpp"

#include <string>
#include <vector>

namespace tessaline {

// A built-in template of a well-known provider's endpoints and usual parameters. Parts that
// differ per account ("{{tenantId}}", "{{auth0Domain}}", ...) are variable references, filled
// from the environment or collection when the configuration is resolved.
struct OAuth2Preset {
    std::string name{};
    std::string authURL{};
    std::string tokenURL{};
    std::string deviceAuthURL{};  // empty when the provider has no device flow
    std::string scope{};
    std::vector<KeyValue> authParams{};
    std::vector<KeyValue> tokenParams{};
    std::string note{};  // a hint for the user

    // The six presets, in the order they are offered.
    static const std::vector<OAuth2Preset>& all();

    // Overwrites the three endpoints, sets the scope only when the configuration has none,
    // and appends each parameter row whose key (compared exactly) is not there yet, so that
    // applying a preset twice adds nothing. Every other field is left alone.
    void apply(OAuth2Config& config) const;

    bool operator==(const OAuth2Preset&) const = default;
};

}  // namespace tessaline
