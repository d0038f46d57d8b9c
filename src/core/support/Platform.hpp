#pragma once

#include "core/support/Date.hpp"

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string_view>

// What differs between the systems the server builds on, one small function per concern with
// a branch per system. Porting to another system starts here.
namespace tessaline::platform {

// The file name under which the dynamic loader finds libcurl's runtime library.
const char* curlLibraryName();

// The folder where applications keep the user's data: ~/Library/Application Support on
// macOS; $XDG_DATA_HOME, or ~/.local/share when that is unset or empty, elsewhere. The home
// folder is $HOME, else the password database's entry for the user.
std::filesystem::path userDataFolder();

// Swaps the files at the two paths in one step, as rename() would replace one with the
// other; 0, or -1 with errno set (ENOTSUP where the system or the file system cannot).
int exchangeFiles(const char* from, const char* to);

// The double nearest to `number`, a decimal number as JSON writes it, whatever the process's
// locale; absent when its magnitude is beyond a double's range, too large or too small.
std::optional<double> nearestDouble(std::string_view number);

// A file's modification and status-change dates, to the nanosecond.
Date modificationDate(const struct stat& status);
Date changeDate(const struct stat& status);

}  // namespace tessaline::platform
