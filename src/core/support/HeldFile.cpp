#include "core/support/HeldFile.hpp"

#include "core/support/FileError.hpp"
#include "core/support/Polling.hpp"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace tessaline {

HeldFile::HeldFile(const std::filesystem::path& path)
    : name(path), descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor < 0) throw FileError("read", path, errno);
    try {
        reread(FileStamp::of(descriptor));
    } catch (...) {
        ::close(descriptor);
        throw;
    }
}

HeldFile::HeldFile(HeldFile&& other) noexcept
    : name(std::move(other.name)),
      descriptor(std::exchange(other.descriptor, -1)),
      stamp(std::move(other.stamp)),
      content(std::move(other.content)) {}

HeldFile& HeldFile::operator=(HeldFile&& other) noexcept {
    if (this != &other) {
        if (descriptor >= 0) ::close(descriptor);
        name = std::move(other.name);
        descriptor = std::exchange(other.descriptor, -1);
        stamp = std::move(other.stamp);
        content = std::move(other.content);
    }
    return *this;
}

HeldFile::~HeldFile() {
    if (descriptor >= 0) ::close(descriptor);
}

std::optional<std::string> HeldFile::changeWithin(std::chrono::milliseconds wait) {
    try {
        return pollWithin(wait, [this](bool last) -> std::optional<std::string> {
            auto current = FileStamp::of(descriptor);
            if (!last && current == stamp) return std::nullopt;
            return reread(std::move(current));
        });
    } catch (const FileError&) {
        return std::nullopt;
    }
}

// The stamp is taken before the bytes are read: a write in between leaves a stamp that no
// longer matches, so the next look reads again.
std::optional<std::string> HeldFile::reread(std::optional<FileStamp> current) {
    std::string now = readAll();
    stamp = std::move(current);
    if (now == content) return std::nullopt;
    content = std::move(now);
    return content;
}

std::string HeldFile::readAll() const {
    std::string result;
    char buffer[65536];
    while (true) {
        const auto count = ::pread(descriptor, buffer, sizeof buffer, static_cast<off_t>(result.size()));
        if (count < 0) {
            if (errno == EINTR) continue;
            throw FileError("read", name, errno);
        }
        if (count == 0) return result;
        result.append(buffer, static_cast<std::size_t>(count));
    }
}

}  // namespace tessaline
