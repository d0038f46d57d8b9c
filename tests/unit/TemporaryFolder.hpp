#pragma once

#include "core/support/Uuid.hpp"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace tessaline {

// A fresh folder under the system's temporary folder, removed with everything in it when
// the test ends.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::string& prefix = "tessaline-test")
        : path(std::filesystem::temp_directory_path() / (prefix + "-" + Uuid::random().text())) {
        std::filesystem::create_directories(path);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return path / name; }

    const std::filesystem::path path;
};

// The names in a folder, sorted: what a test expects to find after the code under test wrote.
inline std::vector<std::string> entries(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace tessaline
