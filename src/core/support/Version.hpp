#pragma once

#include <string_view>

namespace tessaline {

// The project's version as CMakeLists.txt gives it ("0.4.0"): the one --version prints, the
// handshake reports and the package carries.
std::string_view projectVersion();

}  // namespace tessaline
