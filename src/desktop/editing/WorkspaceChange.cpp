#include "desktop/editing/WorkspaceChange.hpp"

namespace tessaline {

std::string WorkspaceChange::id() const {
    return std::string(toString(entity)) + "-" + entityID.text() + "-" + std::string(toString(kind));
}

}  // namespace tessaline
