#pragma once

#include "model/RawValues.hpp"

namespace tessaline {

enum class APIKeyLocation { header, query };

template <>
struct RawValues<APIKeyLocation> {
    static constexpr std::array table{
        std::pair{APIKeyLocation::header, std::string_view("header")},
        std::pair{APIKeyLocation::query, std::string_view("query")},
    };
};

}  // namespace tessaline
