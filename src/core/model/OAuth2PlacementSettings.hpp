#pragma once

#include "core/model/EnumStrings.hpp"

#include <string>

namespace tessaline {

// Where an obtained token goes on the outgoing request.
enum class OAuth2TokenPlacement { header, query };

template <>
struct EnumStrings<OAuth2TokenPlacement> {
    static constexpr std::array table{
        std::pair{OAuth2TokenPlacement::header, std::string_view("header")},
        std::pair{OAuth2TokenPlacement::query, std::string_view("query")},
    };
};

// Where an OAuth2Config puts the token it obtained: the part that only building a request
// reads.
struct OAuth2PlacementSettings {
    OAuth2TokenPlacement placement = OAuth2TokenPlacement::header;
    std::string headerPrefix = "Bearer";
    std::string queryParamName = "access_token";
    bool useIDToken = false;

    bool operator==(const OAuth2PlacementSettings&) const = default;
};

}  // namespace tessaline
