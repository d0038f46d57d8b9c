#include "support/FileStamp.hpp"

#include <sys/stat.h>

namespace tessaline {
namespace {

Date date(const timespec& time) {
    return Date(std::chrono::duration_cast<Date::duration>(std::chrono::seconds(time.tv_sec) +
                                                           std::chrono::nanoseconds(time.tv_nsec)));
}

}  // namespace

std::optional<FileStamp> FileStamp::of(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
#if defined(__APPLE__)
    const auto& modified = status.st_mtimespec;
    const auto& changed = status.st_ctimespec;
#else
    const auto& modified = status.st_mtim;
    const auto& changed = status.st_ctim;
#endif
    return FileStamp{.modified = date(modified),
                     .changed = date(changed),
                     .size = static_cast<std::uintmax_t>(status.st_size),
                     .inode = static_cast<std::uintmax_t>(status.st_ino)};
}

}  // namespace tessaline
