#pragma once

#include "core/model/EnumStrings.hpp"

namespace tessaline {

// `inherit` means: use the owning collection's auth. On a collection's own auth it has no
// owner to defer to and is treated as `none`.
enum class AuthKind { none, inherit, bearer, basic, apiKey, oauth2 };

template <>
struct EnumStrings<AuthKind> {
    static constexpr std::array table{
        std::pair{AuthKind::none, std::string_view("none")},
        std::pair{AuthKind::inherit, std::string_view("inherit")},
        std::pair{AuthKind::bearer, std::string_view("bearer")},
        std::pair{AuthKind::basic, std::string_view("basic")},
        std::pair{AuthKind::apiKey, std::string_view("apiKey")},
        std::pair{AuthKind::oauth2, std::string_view("oauth2")},
    };
};

std::string_view label(AuthKind kind);

}  // namespace tessaline
