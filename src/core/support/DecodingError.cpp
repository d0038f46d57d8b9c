#include "core/support/DecodingError.hpp"

namespace tessaline {
namespace {

std::string message(const std::string& path, const std::string& description) {
    return path.empty() ? description : path + ": " + description;
}

}  // namespace

DecodingError::DecodingError(Kind kind, std::string path, std::string description)
    : Error(message(path, description)),
      errorKind(kind),
      keyPath(std::move(path)),
      detail(std::move(description)) {}

}  // namespace tessaline
