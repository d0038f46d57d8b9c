#include "core/support/Platform.hpp"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace tessaline::platform {
namespace {

std::filesystem::path homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir) return entry->pw_dir;
    return std::filesystem::current_path();
}

Date date(const timespec& time) {
    return Date(std::chrono::duration_cast<Date::duration>(std::chrono::seconds(time.tv_sec) +
                                                           std::chrono::nanoseconds(time.tv_nsec)));
}

}  // namespace

const char* curlLibraryName() {
#if defined(__APPLE__)
    return "libcurl.4.dylib";
#else
    // The name libcurl's ABI has kept since 2006; the development package's unversioned link
    // is not installed everywhere the runtime library is.
    return "libcurl.so.4";
#endif
}

std::filesystem::path userDataFolder() {
#if defined(__APPLE__)
    return homeFolder() / "Library" / "Application Support";
#else
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data) return data;
    return homeFolder() / ".local" / "share";
#endif
}

Date modificationDate(const struct stat& status) {
#if defined(__APPLE__)
    return date(status.st_mtimespec);
#else
    return date(status.st_mtim);
#endif
}

Date changeDate(const struct stat& status) {
#if defined(__APPLE__)
    return date(status.st_ctimespec);
#else
    return date(status.st_ctim);
#endif
}

}  // namespace tessaline::platform
