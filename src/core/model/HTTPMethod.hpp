#pragma once

#include "core/model/EnumStrings.hpp"

namespace tessaline {

enum class HTTPMethod { get, post, put, patch, delete_, head, options };

template <>
struct EnumStrings<HTTPMethod> {
    static constexpr std::array table{
        std::pair{HTTPMethod::get, std::string_view("GET")},
        std::pair{HTTPMethod::post, std::string_view("POST")},
        std::pair{HTTPMethod::put, std::string_view("PUT")},
        std::pair{HTTPMethod::patch, std::string_view("PATCH")},
        std::pair{HTTPMethod::delete_, std::string_view("DELETE")},
        std::pair{HTTPMethod::head, std::string_view("HEAD")},
        std::pair{HTTPMethod::options, std::string_view("OPTIONS")},
    };
};

// False only for GET and HEAD: DELETE and OPTIONS may carry a body.
constexpr bool allowsBody(HTTPMethod method) { return method != HTTPMethod::get && method != HTTPMethod::head; }

}  // namespace tessaline
