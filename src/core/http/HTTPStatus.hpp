#pragma once

#include <string>

namespace tessaline::httpStatus {

// The registered reason phrase of a code; empty for a code nobody registered.
std::string reasonPhrase(int code);

}  // namespace tessaline::httpStatus
