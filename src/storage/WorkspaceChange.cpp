#include "storage/WorkspaceChange.hpp"

namespace tessaline {

std::string WorkspaceChange::id() const {
    return std::string(rawValue(entity)) + "-" + entityID.text() + "-" + std::string(rawValue(kind));
}

}  // namespace tessaline
