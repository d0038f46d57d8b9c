#include "core/support/Platform.hpp"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <charconv>
#if !defined(__cpp_lib_to_chars)
#include <cmath>
#include <locale.h>
#include <string>
#if defined(__APPLE__)
#include <xlocale.h>
#endif
#endif

#include <cerrno>
#include <cstdio>
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

int exchangeFiles(const char* from, const char* to) {
#if defined(__linux__)
    return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_EXCHANGE);
#elif defined(__APPLE__)
    return ::renamex_np(from, to, RENAME_SWAP);
#else
    (void)from, (void)to;
    errno = ENOTSUP;
    return -1;
#endif
}

std::optional<double> nearestDouble(std::string_view number) {
    double value = 0;
#if defined(__cpp_lib_to_chars)
    if (std::from_chars(number.data(), number.data() + number.size(), value).ec != std::errc()) return std::nullopt;
#else
    // A C library without from_chars for doubles (libc++ before 17): strtod_l in the "C"
    // locale is as exact and ignores the process's decimal point.
    static const locale_t cLocale = ::newlocale(LC_ALL_MASK, "C", locale_t{});
    const std::string text(number);
    errno = 0;
    value = ::strtod_l(text.c_str(), nullptr, cLocale);
    if (errno == ERANGE && (value == 0 || std::isinf(value))) return std::nullopt;
#endif
    return value;
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
