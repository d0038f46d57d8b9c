#include "core/support/FileError.hpp"

#include "core/support/CurlyQuoted.hpp"

#include <system_error>

namespace tessaline {

FileError::FileError(std::string_view action, const std::filesystem::path& path, int error)
    : Error("Could not " + std::string(action) + " " + curlyQuoted(path.string()) + ": " + std::generic_category().message(error)) {}

}  // namespace tessaline
