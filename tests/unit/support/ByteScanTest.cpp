#include "support/ByteScan.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tessaline {
namespace {

// Every position of the hit within and across eight-byte words, and non-ASCII bytes only
// counted when they lie before the hit.
TEST(ByteScanTest, FindQuoteOrBackslashStopsAtTheFirstAndSeesNonASCIIBeforeIt) {
    for (size_t length = 0; length < 20; ++length) {
        for (const char stop : {'"', '\\'}) {
            const std::string text = std::string(length, 'a') + stop + "\xC3\xA9\"";
            bool sawNonASCII = false;
            EXPECT_EQ(length, byteScan::findQuoteOrBackslash(text, 0, sawNonASCII));
            EXPECT_FALSE(sawNonASCII) << length;
            for (size_t at = 0; at < length; ++at) {
                std::string marked = text;
                marked[at] = '\xE9';
                sawNonASCII = false;
                EXPECT_EQ(length, byteScan::findQuoteOrBackslash(marked, 0, sawNonASCII));
                EXPECT_TRUE(sawNonASCII) << length << " " << at;
            }
        }
        bool sawNonASCII = false;
        EXPECT_EQ(length, byteScan::findQuoteOrBackslash(std::string(length, 'a'), 0, sawNonASCII));
    }
}

// Every control character stops the search at every position within and across words, as do
// the quote and the backslash; DEL and non-ASCII bytes do not.
TEST(ByteScanTest, FindQuoteBackslashOrControlStopsAtAnyOfThem) {
    for (size_t length = 0; length < 20; ++length) {
        for (int stop = 0; stop < 0x20; ++stop) {
            const std::string text = std::string(length, 'a') + static_cast<char>(stop) + "\"";
            bool sawNonASCII = false;
            EXPECT_EQ(length, byteScan::findQuoteBackslashOrControl(text, 0, sawNonASCII)) << length << " " << stop;
            EXPECT_FALSE(sawNonASCII);
        }
        for (const char* stop : {"\"", "\\"}) {
            bool sawNonASCII = false;
            const std::string text = std::string(length, '\x7F') + "\xC3\xA9" + stop + "\n";
            EXPECT_EQ(length + 2, byteScan::findQuoteBackslashOrControl(text, 0, sawNonASCII)) << length;
            EXPECT_TRUE(sawNonASCII);
        }
        bool sawNonASCII = false;
        EXPECT_EQ(length, byteScan::findQuoteBackslashOrControl(std::string(length, ' '), 0, sawNonASCII));
    }
}

TEST(ByteScanTest, SkipWhitespacePassesRunsOfEveryLength) {
    for (size_t length = 0; length < 20; ++length) {
        EXPECT_EQ(length, byteScan::skipWhitespace(std::string(length, ' ') + "x  ", 0));
        EXPECT_EQ(length + 2, byteScan::skipWhitespace("\n" + std::string(length, ' ') + "\tx", 0));
    }
    EXPECT_EQ(9u, byteScan::skipWhitespace("x\r\n \t    y", 1));
}

// Every position within and across eight-byte words, starting anywhere before the stop; a CR
// stops only the second search, and a byte after the stop never moves it.
TEST(ByteScanTest, FindNonASCIIAndCarriageReturnStopAtTheFirst) {
    for (size_t length = 0; length < 20; ++length) {
        for (size_t from = 0; from <= length; ++from) {
            const std::string nonASCII = std::string(length, 'a') + "\xC3\xA9\r";
            EXPECT_EQ(length, byteScan::findNonASCII(nonASCII, from)) << length << " " << from;
            EXPECT_EQ(length, byteScan::findCarriageReturnOrNonASCII(nonASCII, from)) << length << " " << from;
            const std::string carriageReturn = std::string(length, 'a') + "\r\xC3\xA9";
            EXPECT_EQ(length + 1, byteScan::findNonASCII(carriageReturn, from)) << length << " " << from;
            EXPECT_EQ(length, byteScan::findCarriageReturnOrNonASCII(carriageReturn, from)) << length << " " << from;
        }
        EXPECT_EQ(length, byteScan::findCarriageReturnOrNonASCII(std::string(length, '\n'), 0));
    }
}

}  // namespace
}  // namespace tessaline
