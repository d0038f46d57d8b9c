#pragma once

#include "core/model/EnumStrings.hpp"
#include "core/support/Uuid.hpp"

#include <string>

namespace tessaline {

// One difference between two workspaces, about one collection, folder, request or
// environment. `name` is the entity's name in the newer workspace when it is there, else in
// the older; `detail` is a short text for people ("3 requests", "URL, headers", "was in Auth").
struct WorkspaceChange {
    enum class Kind { added, removed, modified, moved };
    enum class Entity { collection, folder, request, environment };

    Kind kind = Kind::modified;
    Entity entity = Entity::request;
    Uuid entityID{};
    std::string name{};
    std::string detail{};

    // "<entity>-<UUID>-<kind>", e.g. "request-0F8E…-modified": one entity has at most one
    // change of each kind.
    std::string id() const;

    bool operator==(const WorkspaceChange&) const = default;
};

template <>
struct EnumStrings<WorkspaceChange::Kind> {
    static constexpr std::array table{
        std::pair{WorkspaceChange::Kind::added, std::string_view("added")},
        std::pair{WorkspaceChange::Kind::removed, std::string_view("removed")},
        std::pair{WorkspaceChange::Kind::modified, std::string_view("modified")},
        std::pair{WorkspaceChange::Kind::moved, std::string_view("moved")},
    };
};

template <>
struct EnumStrings<WorkspaceChange::Entity> {
    static constexpr std::array table{
        std::pair{WorkspaceChange::Entity::collection, std::string_view("collection")},
        std::pair{WorkspaceChange::Entity::folder, std::string_view("folder")},
        std::pair{WorkspaceChange::Entity::request, std::string_view("request")},
        std::pair{WorkspaceChange::Entity::environment, std::string_view("environment")},
    };
};

}  // namespace tessaline
