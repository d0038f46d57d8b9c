#include "core/support/Version.hpp"

namespace tessaline {

std::string_view projectVersion() { return TESSALINE_VERSION; }

}  // namespace tessaline
