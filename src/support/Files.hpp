#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

// Whole-file reads and crash-safe writes.
namespace tessaline::files {

// The file's bytes, or nothing when it cannot be opened or read.
std::optional<std::string> read(const std::filesystem::path& path);

// Replaces the file with `bytes` so that a crash leaves the old or the new file whole, never
// a mix: a temporary file beside it is written and synced, renamed over the target, and the
// folder is synced. The folder must exist. `mode` is the new file's permission bits (before
// the umask). Throws tessaline::Error, "Couldn't write “<file name>”: <reason>", and leaves
// no temporary file behind.
void writeAtomically(const std::filesystem::path& path, std::string_view bytes, mode_t mode = 0644);

}  // namespace tessaline::files
