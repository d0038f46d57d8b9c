#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

namespace tessaline {

// The lines of an input stream, read a block at a time straight from its file descriptor so
// that a line is answered as soon as it has arrived. A line longer than the limit is passed
// over to its end without being kept: the reader never holds more than the limit and a block.
class LineReader {
public:
    struct Line {
        std::string_view text;  // without the line feed; empty when the line is too long
        bool tooLong = false;
    };

    LineReader(int input, std::size_t lineLimit);

    // The next line, or nothing at the end of input; a last line without a line feed counts.
    // The text stays valid until the next call.
    std::optional<Line> next();
    // Whether next() has a whole line at hand, without reading.
    bool hasLine() const { return held().find('\n', lineStart) != std::string_view::npos; }

private:
    // Appends the next block of input; false at its end (or on a read error).
    bool readBlock();
    std::string_view held() const { return {buffer.get(), filled}; }

    int descriptor;
    std::size_t limit;
    std::unique_ptr<char[]> buffer;  // limit and a block; its first `filled` bytes hold input
    std::size_t filled = 0;
    std::size_t lineStart = 0;  // where the next line begins in buffer
};

}  // namespace tessaline
