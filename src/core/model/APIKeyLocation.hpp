#pragma once

#include "core/model/EnumStrings.hpp"

namespace tessaline {

enum class APIKeyLocation { header, query };

template <>
struct EnumStrings<APIKeyLocation> {
    static constexpr std::array table{
        std::pair{APIKeyLocation::header, std::string_view("header")},
        std::pair{APIKeyLocation::query, std::string_view("query")},
    };
};

}  // namespace tessaline
