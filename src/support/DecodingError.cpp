#include "support/DecodingError.hpp"

namespace tessaline {
namespace {

std::string message(const std::string& codingPath, const std::string& description) {
    return codingPath.empty() ? description : codingPath + ": " + description;
}

}  // namespace

DecodingError::DecodingError(Kind kind, std::string codingPath, std::string description)
    : Error(message(codingPath, description)),
      kind_(kind),
      codingPath_(std::move(codingPath)),
      description_(std::move(description)) {}

}  // namespace tessaline
