#include "support/Files.hpp"

#include "support/Crypto.hpp"
#include "support/Error.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace tessaline::files {
namespace {

// Closes its descriptor when it goes out of scope.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const { return fd_; }
    // Closes now, reporting whether the kernel accepted everything written.
    bool close() {
        const int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

private:
    int fd_;
};

std::string hexSuffix() {
    static constexpr char digits[] = "0123456789abcdef";
    std::string suffix;
    for (const unsigned char byte : crypto::randomBytes(6)) {
        suffix += digits[byte >> 4];
        suffix += digits[byte & 0xF];
    }
    return suffix;
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

// Makes the rename durable; a folder that cannot be opened or synced is not a failure of
// the write itself, which is already in place.
void syncFolder(const std::filesystem::path& folder) {
    Descriptor descriptor(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.get() >= 0) ::fsync(descriptor.get());
}

[[noreturn]] void fail(const std::filesystem::path& path, int error) {
    throw Error("Couldn't write “" + path.filename().string() + "”: " + std::strerror(error));
}

}  // namespace

std::optional<std::string> read(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) return std::nullopt;
    std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (stream.bad()) return std::nullopt;
    return bytes;
}

void writeAtomically(const std::filesystem::path& path, std::string_view bytes, mode_t mode) {
    // A short name of its own, so that a target name at the file system's limit still works.
    const auto temporary = path.parent_path() / (".tessaline-" + hexSuffix() + ".tmp");
    Descriptor descriptor(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (descriptor.get() < 0) fail(path, errno);
    const bool written = writeAll(descriptor.get(), bytes) && ::fsync(descriptor.get()) == 0;
    const int writeError = errno;
    if (!descriptor.close() || !written || ::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = written ? errno : writeError;
        ::unlink(temporary.c_str());
        fail(path, error);
    }
    syncFolder(path.parent_path());
}

}  // namespace tessaline::files
