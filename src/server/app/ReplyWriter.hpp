#pragma once

#include <mutex>
#include <string_view>

namespace tessaline {

// The one writer of the output: each line is written whole, with its line feed, before another
// thread may write, so that replies and notifications never interleave. Lines go straight to
// the descriptor, with no stream buffer to copy them through.
// Once the output is gone (the host closed its end) the process ends at once with status 0:
// nobody is left to read what it would do.
class ReplyWriter {
public:
    explicit ReplyWriter(int output) : descriptor(output) {}

    void write(std::string_view line);

private:
    std::mutex lock;
    const int descriptor;  // written only under lock
};

}  // namespace tessaline
