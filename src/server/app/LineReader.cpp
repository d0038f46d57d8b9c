#include "server/app/LineReader.hpp"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace tessaline {

namespace {
constexpr std::size_t blockSize = 1 << 16;
}

// The buffer never grows past the limit and a block, so it is reserved once: growing by
// doubling would leave up to twice that in use. Pages not yet written cost nothing.
LineReader::LineReader(int input, std::size_t lineLimit) : descriptor(input), limit(lineLimit) {
    buffer.reserve(limit + blockSize);
}

std::optional<LineReader::Line> LineReader::next() {
    bool tooLong = false;
    std::size_t searched = lineStart;
    for (;;) {
        if (const auto feed = buffer.find('\n', searched); feed != std::string::npos) {
            const auto start = lineStart;
            lineStart = feed + 1;
            if (tooLong || feed - start > limit) return Line{{}, true};
            return Line{std::string_view(buffer).substr(start, feed - start)};
        }
        // Only the line being read is kept: the lines before it were answered, and the start
        // of a line that is too long is let go.
        buffer.erase(0, lineStart);
        lineStart = 0;
        if (buffer.size() > limit) {
            tooLong = true;
            buffer.clear();
        }
        searched = buffer.size();
        if (!readBlock()) break;
    }
    if (buffer.empty() && !tooLong) return std::nullopt;
    lineStart = buffer.size();
    if (tooLong) return Line{{}, true};
    return Line{buffer};
}

bool LineReader::readBlock() {
    const auto size = buffer.size();
    buffer.resize(size + blockSize);
    ssize_t count;
    do {
        count = ::read(descriptor, buffer.data() + size, blockSize);
    } while (count < 0 && errno == EINTR);
    buffer.resize(size + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

}  // namespace tessaline
