#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace tessaline {

// One snapshot of the version archive: a byte copy of the workspace document taken at `date`
// for `reason`, both of which live in the file's name. The url identifies it.
struct WorkspaceVersion {
    std::filesystem::path url;
    std::chrono::system_clock::time_point date;  // whole milliseconds
    std::string reason;  // shown to the user: "Autosave", "Before deleting “Login”", ...

    bool operator==(const WorkspaceVersion&) const = default;
};

}  // namespace tessaline
