#pragma once

#include <cstdio>
#include <mutex>
#include <string_view>

namespace tessaline {

// The one writer of the output stream: each line is written whole, with its line feed, and
// flushed before another thread may write, so that replies and notifications never interleave.
// Once the output is gone (the host closed its end) the process ends at once with status 0:
// nobody is left to read what it would do.
class ReplyWriter {
public:
    explicit ReplyWriter(std::FILE* output) : stream(output) {}

    void write(std::string_view line);

private:
    std::mutex lock;
    std::FILE* stream;  // written only under lock
};

}  // namespace tessaline
