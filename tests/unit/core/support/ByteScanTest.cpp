#include "core/support/ByteScan.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tessaline {
namespace {

// The searches read eight bytes at a time, so every stop is tried at each position within and
// across words, after runs of every length below 20.
constexpr std::size_t longestRun = 20;

// A non-ASCII byte is noted only when it lies before the stop, wherever in its word it is.
// The second search stops at every control character as well, and at neither DEL nor non-ASCII.
TEST(ByteScanTest, QuoteSearchesStopAtTheFirstAndNoteNonASCIIBeforeIt) {
    std::string controls;
    for (char control = 0; control < 0x20; ++control) controls += control;
    const std::pair<std::size_t (*)(std::string_view, std::size_t, bool&), std::string> searches[] = {
        {byteScan::findQuoteOrBackslash, "\"\\"}, {byteScan::findQuoteBackslashOrControl, "\"\\" + controls}};
    for (const auto& [find, stops] : searches) {
        for (std::size_t length = 0; length < longestRun; ++length) {
            for (const char stop : stops) {
                for (std::size_t marked = 0; marked <= length; ++marked) {  // `length`: nothing marked
                    std::string text = std::string(length, '\x7F') + stop + "\xC3\xA9\"";
                    if (marked < length) text[marked] = '\xE9';
                    bool sawNonASCII = false;
                    EXPECT_EQ(length, find(text, 0, sawNonASCII)) << length << " " << int(stop) << " " << marked;
                    EXPECT_EQ(marked < length, sawNonASCII) << length << " " << int(stop) << " " << marked;
                }
            }
            bool sawNonASCII = false;
            EXPECT_EQ(length, find(std::string(length, 'a'), 0, sawNonASCII));
        }
    }
}

TEST(ByteScanTest, SkipWhitespacePassesRunsOfEveryLength) {
    for (std::size_t length = 0; length < longestRun; ++length) {
        EXPECT_EQ(length + 2, byteScan::skipWhitespace("\n" + std::string(length, ' ') + "\tx  ", 0));
    }
    EXPECT_EQ(9u, byteScan::skipWhitespace("x\r\n \t    y", 1));
}

// A CR stops only the second search, and nothing after the stop moves it.
TEST(ByteScanTest, NonASCIIAndCarriageReturnStopAtTheFirstFromAnyStart) {
    for (std::size_t length = 0; length < longestRun; ++length) {
        const std::string nonASCII = std::string(length, 'a') + "\xC3\xA9\r";
        const std::string carriageReturn = std::string(length, 'a') + "\r\xC3\xA9";
        for (std::size_t from = 0; from <= length; ++from) {
            SCOPED_TRACE(testing::Message() << length << " from " << from);
            EXPECT_EQ(length, byteScan::findNonASCII(nonASCII, from));
            EXPECT_EQ(length, byteScan::findCarriageReturnOrNonASCII(nonASCII, from));
            EXPECT_EQ(length + 1, byteScan::findNonASCII(carriageReturn, from));
            EXPECT_EQ(length, byteScan::findCarriageReturnOrNonASCII(carriageReturn, from));
        }
        EXPECT_EQ(length, byteScan::findCarriageReturnOrNonASCII(std::string(length, '\n'), 0));
    }
}

}  // namespace
}  // namespace tessaline
