#include "core/support/FileStamp.hpp"

#include "core/support/Platform.hpp"

namespace tessaline {

namespace {

FileStamp stampOf(const struct stat& status) {
    return FileStamp{.modified = platform::modificationDate(status),
                     .changed = platform::changeDate(status),
                     .size = static_cast<std::uintmax_t>(status.st_size),
                     .inode = static_cast<std::uintmax_t>(status.st_ino)};
}

}  // namespace

std::optional<FileStamp> FileStamp::of(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    return stampOf(status);
}

std::optional<FileStamp> FileStamp::of(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) return std::nullopt;
    return stampOf(status);
}

}  // namespace tessaline
