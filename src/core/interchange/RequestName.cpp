#include "core/interchange/RequestName.hpp"

#include "core/interchange/URLText.hpp"

namespace tessaline {

std::string requestName(HTTPMethod method, std::string_view url) {
    const auto path = URLText::parse(url).path;
    return std::string(toString(method)) + " " + (path.empty() ? "/" : path);
}

}  // namespace tessaline
