#pragma once

#include "core/model/APICollection.hpp"
#include "core/model/APIEnvironment.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace tessaline {

// The whole workspace. A default-constructed Workspace is the empty workspace: current
// version, no collections, no environments, none active.
struct Workspace {
    static constexpr std::int64_t currentVersion = 1;

    std::int64_t version = currentVersion;
    std::vector<APICollection> collections{};
    std::vector<APIEnvironment> environments{};
    // May name an environment that no longer exists, which counts as none.
    std::optional<Uuid> activeEnvironmentID{};

    // The environment that activeEnvironmentID names, if it exists.
    const APIEnvironment* activeEnvironment() const;

    bool operator==(const Workspace&) const = default;
};

}  // namespace tessaline
