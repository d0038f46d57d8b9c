#pragma once

#include "core/model/EnumStrings.hpp"

namespace tessaline {

enum class BodyKind { none, json, text, xml, formURLEncoded, multipart };

template <>
struct EnumStrings<BodyKind> {
    static constexpr std::array table{
        std::pair{BodyKind::none, std::string_view("none")},
        std::pair{BodyKind::json, std::string_view("json")},
        std::pair{BodyKind::text, std::string_view("text")},
        std::pair{BodyKind::xml, std::string_view("xml")},
        std::pair{BodyKind::formURLEncoded, std::string_view("formURLEncoded")},
        std::pair{BodyKind::multipart, std::string_view("multipart")},
    };
};

std::string_view label(BodyKind kind);

// The Content-Type the request builder adds when the user set none. Absent for `none`, and
// for `multipart`, whose header needs the boundary that only the builder knows.
std::optional<std::string_view> contentType(BodyKind kind);

}  // namespace tessaline
