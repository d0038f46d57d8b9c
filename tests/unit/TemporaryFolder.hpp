#pragma once

#include "support/Uuid.hpp"

#include <filesystem>
#include <string>
#include <system_error>

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

}  // namespace tessaline
