#pragma once

#include "core/support/HeldFile.hpp"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

// Whole-file reads, durable and atomic replacement of a file, and the folders such files live in.
namespace tessaline::atomicFile {

// How long a temporary file of write() may lie in a folder before it counts as left behind
// by a process that died while writing.
constexpr std::chrono::minutes staleAfter{5};

// The calls on which durability rests. A test replaces them to watch their order; every other
// caller takes the system's. `exchange` swaps two names in one step, or fails with errno set
// (EINVAL, ENOSYS, ENOTSUP where it is not available, ENOENT when `to` does not exist).
struct SystemCalls {
    int (*sync)(int fd);
    int (*exchange)(const char* from, const char* to);
    int (*rename)(const char* from, const char* to);
};
SystemCalls systemCalls();

// Replaces `path` with exactly `bytes`, so that a crash at any moment leaves either the old
// file or the new one whole, never a mix: the bytes go to a temporary file in the same folder
// (".<name>.<12 hex digits>.tmp", a name no reader takes for the target), which is synced,
// renamed over the target, and then the folder itself is synced.
//
// A symbolic link at `path` is followed: its target is replaced and the link stays. A new
// file gets `permissions` (less the umask); a file that exists keeps its mode. Throws
// FileError; the temporary file never outlives a failure.
//
// Where the system can swap the two files in one step, returns what the replaced file held
// at that moment, so that a caller can tell whether someone else wrote it since the caller
// last looked; absent when there was no file, or the swap is not available. The replaced
// file's name is gone by then.
std::optional<std::string> write(const std::filesystem::path& path, std::string_view bytes, mode_t permissions = 0600,
                                 const SystemCalls& calls = systemCalls());

// What writeIf() did.
struct Replacement {
    bool done = false;                    // false when `proceed` declined: nothing was replaced
    std::optional<HeldFile> replaced{};  // the replaced file, still open, where write() returns its bytes
};

// As write(), but once the new bytes are synced, just before they take the target's place,
// asks `proceed`; when it declines, the temporary file is removed and the target left alone.
// A caller that looks at the target there leaves another writer the shortest time to slip in.
Replacement writeIf(const std::filesystem::path& path, std::string_view bytes, const std::function<bool()>& proceed,
                    mode_t permissions = 0600, const SystemCalls& calls = systemCalls());

// The whole content of the file. Throws FileError.
std::string read(const std::filesystem::path& path);

// Creates the folder and any missing folders above it, each with mode 0700 (less the umask);
// folders that exist keep their mode. Throws FileError.
void createFolders(const std::filesystem::path& folder);

// Deletes the temporary files of write() in `folder` that are older than staleAfter, which
// only a write that never finished leaves. Failures are skipped.
void removeStaleTemporaries(const std::filesystem::path& folder);

}  // namespace tessaline::atomicFile
