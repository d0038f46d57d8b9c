#pragma once

#include "core/support/Date.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace tessaline {

// What a file's metadata says about its content, for noticing changes made by another
// program (WatchedFile): two writes within one tick of the file-system clock can leave the
// modification date alone, so a stamp also holds size, change time and inode (a rename over
// the file changes the inode).
struct FileStamp {
    Date modified{};  // st_mtim, to the nanosecond
    Date changed{};   // st_ctim
    std::uintmax_t size = 0;
    std::uintmax_t inode = 0;

    // The stamp of the file at `path`; absent when it cannot be examined (missing, no
    // permission).
    static std::optional<FileStamp> of(const std::filesystem::path& path);
    // The stamp of the open file `descriptor`; absent when it cannot be examined.
    static std::optional<FileStamp> of(int descriptor);

    bool operator==(const FileStamp&) const = default;
};

}  // namespace tessaline
