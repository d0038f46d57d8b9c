#include "server/app/ReplyWriter.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

namespace tessaline {
namespace {

// Everything that arrives on `descriptor` until its writing end closes.
std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> block;
    for (ssize_t count; (count = ::read(descriptor, block.data(), block.size())) > 0;) text.append(block.data(), count);
    return text;
}

// Ends with status 7 when a reader gets every line whole from a non-blocking pipe that a long
// line fills many times over.
[[noreturn]] void writeThroughAFullPipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) std::_Exit(2);
    ::fcntl(ends[1], F_SETFL, ::fcntl(ends[1], F_GETFL) | O_NONBLOCK);
    std::string received;
    std::thread reader([&] { received = readAll(ends[0]); });
    const std::string longLine(1 << 20, 'x');
    {
        ReplyWriter writer(ends[1]);
        writer.write("first");
        writer.write(longLine);
        writer.write("");
    }
    ::close(ends[1]);
    reader.join();
    std::_Exit(received == "first\n" + longLine + "\n\n" ? 7 : 1);
}

[[noreturn]] void writeWhereNobodyReads() {
    std::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) std::_Exit(2);
    ::close(ends[0]);
    ReplyWriter(ends[1]).write("lost");
    std::_Exit(1);
}

// In child processes: a writer that ended the process early would otherwise end the test
// binary with status 0, which reads as a pass.
TEST(ReplyWriterTest, WritesLongLinesWholeThroughANonBlockingPipeThatFillsUp) {
    EXPECT_EXIT(writeThroughAFullPipe(), testing::ExitedWithCode(7), "");
}

TEST(ReplyWriterTest, EndsTheProcessWithStatusZeroOnceNobodyReads) {
    EXPECT_EXIT(writeWhereNobodyReads(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tessaline
