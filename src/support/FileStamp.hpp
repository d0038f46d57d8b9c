#pragma once

#include "support/Date.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace tessaline {

// What a file's metadata says about its content, for noticing changes made by another
// program. File-system clocks are coarse (a kernel tick), so two writes within one tick can
// leave the modification date alone: compare whole stamps, which also hold size, change
// time and inode (a rename over the file changes the inode), and treat a file modified
// within a few milliseconds of being read as possibly changed again.
struct FileStamp {
    Date modified{};  // st_mtim, to the nanosecond
    Date changed{};   // st_ctim
    std::uintmax_t size = 0;
    std::uintmax_t inode = 0;

    // The stamp of the file at `path`; absent when it cannot be examined (missing, no
    // permission).
    static std::optional<FileStamp> of(const std::filesystem::path& path);

    bool operator==(const FileStamp&) const = default;
};

}  // namespace tessaline
