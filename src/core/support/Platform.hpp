#pragma once

#include "core/support/Date.hpp"

#include <sys/stat.h>

#include <filesystem>

// What differs between the systems the server builds on, one small function per concern with
// a branch per system. Porting to another system starts here.
namespace tessaline::platform {

// The file name under which the dynamic loader finds libcurl's runtime library.
const char* curlLibraryName();

// The folder where applications keep the user's data: ~/Library/Application Support on
// macOS; $XDG_DATA_HOME, or ~/.local/share when that is unset or empty, elsewhere. The home
// folder is $HOME, else the password database's entry for the user.
std::filesystem::path userDataFolder();

// A file's modification and status-change dates, to the nanosecond.
Date modificationDate(const struct stat& status);
Date changeDate(const struct stat& status);

}  // namespace tessaline::platform
