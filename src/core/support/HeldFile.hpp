#pragma once

#include "core/support/FileStamp.hpp"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace tessaline {

// A file read through a descriptor of its own, which stays open after its name is gone. A
// program that had the file open may still write to it: one that writes in place, caught
// between two writes by a replacement that swapped the file away from its name, sends the
// rest to this file rather than to the one now at the name. Waiting here sees that rest.
class HeldFile {
public:
    // Opens the file at `path` and reads it. Throws FileError.
    explicit HeldFile(const std::filesystem::path& path);
    HeldFile(HeldFile&& other) noexcept;
    HeldFile& operator=(HeldFile&& other) noexcept;
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;
    ~HeldFile();

    // What the file held when it was last read.
    const std::string& bytes() const& { return content; }
    std::string bytes() && { return std::move(content); }
    // Waits up to `wait` for the file to change, looking every filePollInterval; returns what
    // it then holds (and remembers it), or absent when it held still or could not be read.
    std::optional<std::string> changeWithin(std::chrono::milliseconds wait);

private:
    // Reads the file again; returns its bytes when they differ from what was last read.
    std::optional<std::string> reread(std::optional<FileStamp> current);
    std::string readAll() const;

    std::filesystem::path name;  // for error texts
    int descriptor = -1;
    std::optional<FileStamp> stamp;
    std::string content;
};

}  // namespace tessaline
