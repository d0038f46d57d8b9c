#pragma once

#include "core/support/Error.hpp"

#include <filesystem>
#include <string_view>

namespace tessaline {

// A file or folder could not be read or written. The text names the path and the
// system's reason: "Could not write “/path/workspace.json”: Permission denied".
class FileError : public Error {
public:
    // `action` is the verb: "read", "write", ...; `error` an errno value.
    FileError(std::string_view action, const std::filesystem::path& path, int error);
};

}  // namespace tessaline
