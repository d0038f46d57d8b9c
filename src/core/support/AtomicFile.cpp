#include "core/support/AtomicFile.hpp"

#include "core/support/Crypto.hpp"
#include "core/support/FileError.hpp"
#include "core/support/Hexadecimal.hpp"
#include "core/support/Platform.hpp"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessaline::atomicFile {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t suffixDigits = 12;
constexpr std::string_view temporaryExtension = ".tmp";

// Owns a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int fd) : number(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0) ::close(number);
    }

    int get() const { return number; }
    // Closes now, so that a failing close is seen; returns 0 or an errno value.
    int close() {
        const int result = ::close(number);
        number = -1;
        return result == 0 ? 0 : errno;
    }

private:
    int number;
};

fs::path temporaryPath(const fs::path& path) {
    std::string suffix;
    for (const unsigned char byte : crypto::randomBytes(suffixDigits / 2))
        hexadecimal::appendByte(suffix, byte, hexadecimal::lowerDigits);
    // The name is cut so that the temporary's own name stays within the 255-byte limit
    // that the target's may already touch.
    std::string name = ".";
    name.append(path.filename().string(), 0, 200);
    name.append(".").append(suffix).append(temporaryExtension);
    return path.parent_path() / name;
}

bool isTemporaryName(std::string_view name) {
    if (!name.starts_with('.') || !name.ends_with(temporaryExtension)) return false;
    name.remove_suffix(temporaryExtension.size());
    if (name.size() < suffixDigits + 2) return false;
    const auto suffix = name.substr(name.size() - suffixDigits);
    return name[name.size() - suffixDigits - 1] == '.' &&
           suffix.find_first_not_of(hexadecimal::lowerDigits) == std::string_view::npos;
}

// The file a write to `path` replaces: the final target of any chain of symbolic links.
fs::path followLinks(fs::path path) {
    for (int hop = 0; hop < 40; ++hop) {
        std::error_code error;
        if (!fs::is_symlink(path, error)) break;
        const auto link = fs::read_symlink(path, error);
        if (error) break;
        path = link.is_absolute() ? link : path.parent_path() / link;
    }
    return path;
}

int writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

// Fills the temporary file and syncs it; returns 0 or an errno value. `mode`, when given,
// is the mode of the file being replaced.
int fill(const fs::path& temporary, std::string_view bytes, mode_t permissions, std::optional<mode_t> mode,
         const SystemCalls& calls) {
    Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions));
    if (file.get() < 0) return errno;
    if (mode && ::fchmod(file.get(), *mode) != 0) return errno;
    if (const int error = writeAll(file.get(), bytes)) return error;
    if (calls.sync(file.get()) != 0) return errno;
    return file.close();
}

// Makes the rename itself durable. Some file systems cannot sync a folder; that is no
// reason to report a write that already happened as failed.
void syncFolder(const fs::path& folder, const SystemCalls& calls) {
    Descriptor directory(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0) calls.sync(directory.get());
}

// Puts the temporary file in the target's place. After a swap the temporary's name holds
// the replaced file, which is read and removed; returns 0 or an errno value.
int replace(const fs::path& temporary, const fs::path& target, std::optional<std::string>& replaced,
            const SystemCalls& calls) {
    if (calls.exchange(temporary.c_str(), target.c_str()) == 0) {
        try {
            replaced = read(temporary);
        } catch (const FileError&) {
            // The new bytes are already in place; without the replaced ones the caller only
            // cannot tell whether someone else wrote the file since it last looked.
        }
        ::unlink(temporary.c_str());
        return 0;
    }
    if (errno != ENOENT && errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) return errno;
    return calls.rename(temporary.c_str(), target.c_str()) == 0 ? 0 : errno;
}

}  // namespace

SystemCalls systemCalls() { return {.sync = ::fsync, .exchange = platform::exchangeFiles, .rename = ::rename}; }

std::optional<std::string> write(const fs::path& path, std::string_view bytes, mode_t permissions,
                                 const SystemCalls& calls) {
    return writeIf(path, bytes, [] { return true; }, permissions, calls).replaced;
}

Replacement writeIf(const fs::path& path, std::string_view bytes, const std::function<bool()>& proceed,
                    mode_t permissions, const SystemCalls& calls) {
    const fs::path target = followLinks(path);
    struct stat existing {};
    const bool exists = ::stat(target.c_str(), &existing) == 0;
    // A swap would move a folder standing at the target's name out of the way.
    if (exists && S_ISDIR(existing.st_mode)) throw FileError("write", path, EISDIR);
    const auto temporary = temporaryPath(target);
    Replacement result;
    int error = fill(temporary, bytes, permissions, exists ? std::optional(existing.st_mode & 07777) : std::nullopt, calls);
    if (error == 0 && !proceed()) {
        ::unlink(temporary.c_str());
        return result;
    }
    if (error == 0) error = replace(temporary, target, result.replaced, calls);
    if (error != 0) {
        ::unlink(temporary.c_str());
        throw FileError("write", path, error);
    }
    syncFolder(target.parent_path(), calls);
    result.done = true;
    return result;
}

std::string read(const fs::path& path) {
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) throw FileError("read", path, errno);
    std::string content;
    char buffer[65536];
    while (true) {
        const auto count = ::read(file.get(), buffer, sizeof buffer);
        if (count < 0) {
            if (errno == EINTR) continue;
            throw FileError("read", path, errno);
        }
        if (count == 0) return content;
        content.append(buffer, static_cast<std::size_t>(count));
    }
}

void createFolders(const fs::path& folder) {
    fs::path path;
    for (const auto& part : folder) {
        path /= part;
        if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) throw FileError("create", path, errno);
    }
}

void removeStaleTemporaries(const fs::path& folder) {
    const auto oldest = fs::file_time_type::clock::now() - staleAfter;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (!isTemporaryName(entry->path().filename().string()) || !entry->is_regular_file(ignored)) continue;
        if (entry->last_write_time(ignored) < oldest && !ignored) fs::remove(entry->path(), ignored);
    }
}

}  // namespace tessaline::atomicFile
