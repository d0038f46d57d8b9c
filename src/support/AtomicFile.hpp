#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <sys/types.h>

// Whole-file reads and durable, atomic replacement of a file.
namespace tessaline::atomicFile {

// Replaces `path` with exactly `bytes`, so that a crash at any moment leaves either the old
// file or the new one whole, never a mix: the bytes go to a temporary file in the same folder
// (".<name>.<random>.tmp", a name no reader takes for the target), which is flushed to disk,
// renamed over the target, and then the folder itself is flushed. The new file gets
// `permissions` (less the umask). Throws FileError; the temporary file never outlives a
// failure.
void write(const std::filesystem::path& path, std::string_view bytes, mode_t permissions = 0644);

// The whole content of the file. Throws FileError.
std::string read(const std::filesystem::path& path);

}  // namespace tessaline::atomicFile
