#include "core/model/Workspace.hpp"

#include <algorithm>

namespace tessaline {

const APIEnvironment* Workspace::activeEnvironment() const {
    if (!activeEnvironmentID) return nullptr;
    const auto found = std::find_if(environments.begin(), environments.end(),
                                    [this](const APIEnvironment& environment) { return environment.id == *activeEnvironmentID; });
    return found == environments.end() ? nullptr : &*found;
}

}  // namespace tessaline
