#include "app/LineReader.hpp"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace tessaline {

namespace {
constexpr std::size_t blockSize = 1 << 16;
}

// The buffer never grows past the limit and a block, so it is reserved once: growing by
// doubling would leave up to twice that in use. Pages not yet written cost nothing.
LineReader::LineReader(int descriptor, std::size_t limit) : descriptor_(descriptor), limit_(limit) {
    buffer_.reserve(limit + blockSize);
}

std::optional<LineReader::Line> LineReader::next() {
    bool tooLong = false;
    std::size_t searched = lineStart_;
    for (;;) {
        if (const auto feed = buffer_.find('\n', searched); feed != std::string::npos) {
            const auto start = lineStart_;
            lineStart_ = feed + 1;
            if (tooLong || feed - start > limit_) return Line{{}, true};
            return Line{std::string_view(buffer_).substr(start, feed - start)};
        }
        // Only the line being read is kept: the lines before it were answered, and the start
        // of a line that is too long is let go.
        buffer_.erase(0, lineStart_);
        lineStart_ = 0;
        if (buffer_.size() > limit_) {
            tooLong = true;
            buffer_.clear();
        }
        searched = buffer_.size();
        if (!readBlock()) break;
    }
    if (buffer_.empty() && !tooLong) return std::nullopt;
    lineStart_ = buffer_.size();
    if (tooLong) return Line{{}, true};
    return Line{buffer_};
}

bool LineReader::readBlock() {
    const auto size = buffer_.size();
    buffer_.resize(size + blockSize);
    ssize_t count;
    do {
        count = ::read(descriptor_, buffer_.data() + size, blockSize);
    } while (count < 0 && errno == EINTR);
    buffer_.resize(size + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

}  // namespace tessaline
