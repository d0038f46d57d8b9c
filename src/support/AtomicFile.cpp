#include "support/AtomicFile.hpp"

#include "support/Crypto.hpp"
#include "support/FileError.hpp"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tessaline::atomicFile {
namespace {

// Owns a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }

    int get() const { return fd_; }
    // Closes now, so that a failing close is seen; returns 0 or an errno value.
    int close() {
        const int result = ::close(fd_);
        fd_ = -1;
        return result == 0 ? 0 : errno;
    }

private:
    int fd_;
};

std::filesystem::path temporaryPath(const std::filesystem::path& path) {
    std::string suffix;
    for (const unsigned char byte : crypto::randomBytes(6)) {
        suffix += "0123456789abcdef"[byte >> 4];
        suffix += "0123456789abcdef"[byte & 0x0F];
    }
    // The name is cut so that the temporary's own name stays within the 255-byte limit
    // that the target's may already touch.
    std::string name = ".";
    name.append(path.filename().string(), 0, 200);
    name.append(".").append(suffix).append(".tmp");
    return path.parent_path() / name;
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

// Fills the temporary file and flushes it; returns 0 or an errno value.
int fill(const std::filesystem::path& temporary, std::string_view bytes, mode_t permissions) {
    Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions));
    if (file.get() < 0) return errno;
    if (const int error = writeAll(file.get(), bytes)) return error;
    if (::fsync(file.get()) != 0) return errno;
    return file.close();
}

// Makes the rename itself durable. Some file systems cannot sync a folder; that is no
// reason to report a write that already happened as failed.
void syncFolder(const std::filesystem::path& folder) {
    Descriptor directory(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0) ::fsync(directory.get());
}

}  // namespace

void write(const std::filesystem::path& path, std::string_view bytes, mode_t permissions) {
    const auto temporary = temporaryPath(path);
    int error = fill(temporary, bytes, permissions);
    if (error == 0 && ::rename(temporary.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) {
        ::unlink(temporary.c_str());
        throw FileError("write", path, error);
    }
    syncFolder(path.parent_path());
}

std::string read(const std::filesystem::path& path) {
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

}  // namespace tessaline::atomicFile
