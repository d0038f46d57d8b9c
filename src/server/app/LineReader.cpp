#include "server/app/LineReader.hpp"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace tessaline {

namespace {
constexpr std::size_t blockSize = 1 << 16;
}

// The buffer never holds more than the limit and a block, so it is allocated once and left
// uninitialised: pages not yet written cost nothing, and a block read costs no clearing.
LineReader::LineReader(int input, std::size_t lineLimit)
    : descriptor(input), limit(lineLimit), buffer(std::make_unique_for_overwrite<char[]>(limit + blockSize)) {}

std::optional<LineReader::Line> LineReader::next() {
    bool tooLong = false;
    std::size_t searched = lineStart;
    for (;;) {
        if (const auto feed = held().find('\n', searched); feed != std::string_view::npos) {
            const auto start = lineStart;
            lineStart = feed + 1;
            if (tooLong || feed - start > limit) return Line{{}, true};
            return Line{held().substr(start, feed - start)};
        }
        // Only the line being read is kept: the lines before it were answered, and the start
        // of a line that is too long is let go.
        std::memmove(buffer.get(), buffer.get() + lineStart, filled - lineStart);
        filled -= lineStart;
        lineStart = 0;
        if (filled > limit) {
            tooLong = true;
            filled = 0;
        }
        searched = filled;
        if (!readBlock()) break;
    }
    if (filled == 0 && !tooLong) return std::nullopt;
    lineStart = filled;
    if (tooLong) return Line{{}, true};
    return Line{held()};
}

bool LineReader::readBlock() {
    ssize_t count;
    do {
        count = ::read(descriptor, buffer.get() + filled, blockSize);
    } while (count < 0 && errno == EINTR);
    if (count <= 0) return false;
    filled += static_cast<std::size_t>(count);
    return true;
}

}  // namespace tessaline
