#pragma once

#include "core/model/HTTPMethod.hpp"

#include <string>
#include <string_view>

namespace tessaline {

// The name an importer gives a request that comes without one: its method and the path of
// its URL, "GET /users" ("/" when the URL has no path).
std::string requestName(HTTPMethod method, std::string_view url);

}  // namespace tessaline
