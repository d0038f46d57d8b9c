#include "support/UnicodeText.hpp"

#include "support/ReferenceCharacters.hpp"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace tessaline {
namespace {

TEST(UnicodeTextTest, LowercasesBeyondAscii) {
    EXPECT_EQ("stra\xC3\x9F" "e \xC3\xA9t\xC3\xA9", unicodeText::lowercased("STRA\xC3\x9F" "E \xC3\x89T\xC3\x89"));
    EXPECT_EQ("\xCF\x83\xCF\x8C\xCF\x82", unicodeText::lowercased("\xCE\xA3\xCE\x8C\xCE\xA3"));  // final sigma
}

const std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
const std::string germany = "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA";  // two regional indicators
const std::string acute = "\xCC\x81";                              // combining, joins what precedes it

TEST(UnicodeTextTest, CountsUserPerceivedCharacters) {
    const struct {
        std::string text;
        std::size_t count;
    } cases[] = {
        {"", 0},
        {"hello", 5},
        {"a\r\n", 2},
        {"\r\r\n\n", 3},
        {"x" + family + "y", 3},
        {"e" + acute, 1},
        {"\n" + acute, 2},                                      // nothing joins a line feed
        {germany + germany + "\xF0\x9F\x87\xA9", 3},            // indicators pair up from the left
        {"\xE1\x84\x80\xE1\x85\xA1\xE1\x86\xA8", 1},            // Hangul jamo L V T
        {"\xE0\xA4\x95\xE0\xA5\x8D\xE0\xA4\xB7\xE0\xA4\xBF", 1},  // Devanagari ka virama ssa i: a conjunct
        {"\xE0\xAE\x95\xE0\xAF\x8D\xE0\xAE\x95", 2},              // Tamil ka virama ka: no conjunct
        {"\xE0\xA4\x95\xE0\xA5\x8D\xE2\x80\x8D\xE0\xA6\x95", 1},  // Devanagari ka virama ZWJ, Bengali ka
        {"\xD8\x80" "1", 1},                                    // a prepended sign joins what follows
        {"\xFF" "a", 2},                                        // a bad byte counts as U+FFFD
        {"\xE2\x82" + acute, 1},                                // and takes marks as U+FFFD does
    };
    for (const auto& c : cases) EXPECT_EQ(c.count, unicodeText::characterCount(c.text)) << c.text;
}

TEST(UnicodeTextTest, PrefixNeverSplitsACharacter) {
    const struct {
        std::string text;
        std::size_t count;
        std::string prefix;
    } cases[] = {
        {"a" + family + "b", 2, "a" + family},
        {"abc", 0, ""},
        {"abc", 10, "abc"},
        {"a\r\nb", 2, "a\r\n"},
        {"ab" + acute + "c", 2, "ab" + acute},
        {germany + "\xF0\x9F\x87\xA9", 1, germany},
        {"a\xE0\xA0", 2, "a\xE0\xA0"},  // a truncated sequence is one U+FFFD
    };
    for (const auto& c : cases) EXPECT_EQ(c.prefix, unicodeText::characterPrefix(c.text, c.count)) << c.text;
}

TEST(UnicodeTextTest, PrefixOfLongTextStopsAtItsCount) {
    std::string text(1'000'000, 'x');
    text.replace(3, 1, "\r\n");
    EXPECT_EQ("xxx\r\nx", unicodeText::characterPrefix(text, 5));
    EXPECT_EQ(text.size() - 1, unicodeText::characterCount(text));
}

// Pieces whose joins and breaks the rules decide: controls, marks, emoji sequences, regional
// indicators, Hangul, Indic clusters, prepended signs and ill-formed bytes.
const std::vector<std::string> alphabet = {
    "a", " ", "\r", "\n", "\t", "\x7F", "\xC3\xA9",
    "\xC2\x85", "\xE2\x80\x8B", "\xE2\x80\xA8",                          // NEL, zero width space, line separator
    acute, "\xCC\x88", "\xE2\x80\x8C", "\xE2\x80\x8D",                     // marks, ZWNJ, ZWJ
    "\xF0\x9F\x91\x8B", "\xF0\x9F\x91\xA8", "\xE2\x9D\xA4", "\xC2\xA9",    // pictographs
    "\xF0\x9F\x8F\xBB", "\xEF\xB8\x8F", "\xF3\xA0\x81\xA7",                // skin tone, VS16, tag
    "\xF0\x9F\x87\xA9", "\xF0\x9F\x87\xAA",                                // regional indicators
    "\xE1\x84\x80", "\xE1\x85\xA1", "\xE1\x86\xA8", "\xEA\xB0\x80", "\xEA\xB0\x81",  // L V T LV LVT
    "\xE0\xA4\x95", "\xE0\xA5\x8D", "\xE0\xA4\xBC", "\xE0\xA4\xBF", "\xE0\xA4\x83",  // Devanagari
    "\xE0\xA6\x95", "\xE0\xAE\x95", "\xE0\xAF\x8D", "\xE0\xB8\xB3",                    // Bengali, Tamil, Thai
    "\xD8\x80", "\xE0\xB5\x8E",                                            // prepended signs
    "\xEF\xBF\xBD", "\xFF", "\x80", "\xC3", "\xE2\x82", "\xED\xA0\x80", "\xF0\x9F\x91", "\xF4\x90\x80\x80",
    "\xC0\xAF",
};

// Each text draws on a few pieces only, so that rarer sequences (a consonant, a virama, a ZWJ and
// another consonant) turn up often.
TEST(UnicodeTextTest, AgreesWithICUOnRandomText) {
    std::mt19937 random(20240229);
    std::uniform_int_distribution<std::size_t> anyPiece(0, alphabet.size() - 1), chosenPiece(0, 5), length(0, 24);
    for (int round = 0; round < 20'000; ++round) {
        std::array<std::size_t, 6> chosen;
        for (auto& piece : chosen) piece = anyPiece(random);
        std::string text;
        for (std::size_t n = length(random); n > 0; --n) text += alphabet[chosen[chosenPiece(random)]];
        const auto difference = referenceCharacters::difference(text);
        ASSERT_FALSE(difference) << *difference << " in " << testing::PrintToString(text);
    }
}

}  // namespace
}  // namespace tessaline
