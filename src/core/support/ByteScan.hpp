#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

// Byte classes and searches of the inner loops over text (the JSON readers, character counting);
// runs are scanned eight bytes at a time.
namespace tessaline::byteScan {

static_assert(std::endian::native == std::endian::little, "byte order of the word-at-a-time searches");

namespace detail {

constexpr uint64_t ones = 0x0101010101010101;
constexpr uint64_t highBits = 0x8080808080808080;

inline uint64_t load(std::string_view text, size_t at) {
    uint64_t word;
    std::memcpy(&word, text.data() + at, sizeof word);
    return word;
}

// The high bit of every byte of `word` that equals `byte`; exact up to the first match.
inline uint64_t matches(uint64_t word, unsigned char byte) {
    const uint64_t difference = word ^ (ones * byte);
    return (difference - ones) & ~difference & highBits;
}

// The index of the first byte at or after `from` that `isHit` accepts, or text.size(). `hits`
// marks the high bit of each byte of a word that `isHit` accepts, exactly up to the first.
template <typename WordHits, typename ByteHit>
size_t findFirst(std::string_view text, size_t from, WordHits hits, ByteHit isHit) {
    size_t at = from;
    for (; at + 8 <= text.size(); at += 8) {
        if (const uint64_t found = hits(load(text, at)); found != 0) return at + static_cast<size_t>(std::countr_zero(found) / 8);
    }
    while (at < text.size() && !isHit(static_cast<unsigned char>(text[at]))) ++at;
    return at;
}

// The high bit of every byte of `word` below `bound` (at most 0x80); exact up to the first match.
inline uint64_t below(uint64_t word, unsigned char bound) { return (word - ones * bound) & ~word & highBits; }

// findFirst that also sets `sawNonASCII` when a byte passed over has its high bit set (and
// leaves it alone otherwise).
template <typename WordHits, typename ByteHit>
size_t findFirstNotingNonASCII(std::string_view text, size_t from, bool& sawNonASCII, WordHits hits, ByteHit isHit) {
    size_t at = from;
    for (; at + 8 <= text.size(); at += 8) {
        const uint64_t word = load(text, at);
        if (const uint64_t found = hits(word); found != 0) {
            const int passed = std::countr_zero(found) / 8 * 8;
            if (word & ((uint64_t{1} << passed) - 1) & highBits) sawNonASCII = true;
            return at + static_cast<size_t>(passed / 8);
        }
        if (word & highBits) sawNonASCII = true;
    }
    for (; at < text.size() && !isHit(static_cast<unsigned char>(text[at])); ++at) {
        if (static_cast<unsigned char>(text[at]) >= 0x80) sawNonASCII = true;
    }
    return at;
}

}  // namespace detail

// A membership table: table[byte] is true for the bytes of `members`.
constexpr std::array<bool, 256> byteSet(std::string_view members) {
    std::array<bool, 256> table{};
    for (char byte : members) table[static_cast<unsigned char>(byte)] = true;
    return table;
}

// JSON's whitespace: space, tab, line feed and carriage return.
inline constexpr std::array<bool, 256> whitespace = byteSet(" \t\n\r");

// The index of the first '"' or '\\' at or after `from`, or text.size(). Sets `sawNonASCII`
// when a byte passed over has its high bit set (and leaves it alone otherwise).
inline size_t findQuoteOrBackslash(std::string_view text, size_t from, bool& sawNonASCII) {
    return detail::findFirstNotingNonASCII(
        text, from, sawNonASCII, [](uint64_t word) { return detail::matches(word, '"') | detail::matches(word, '\\'); },
        [](unsigned char byte) { return byte == '"' || byte == '\\'; });
}

namespace detail {

inline uint64_t quoteBackslashOrControl(uint64_t word) {
    return matches(word, '"') | matches(word, '\\') | below(word, 0x20);
}

}  // namespace detail

// As findQuoteOrBackslash, and also stops at a control character (a byte below 0x20), which
// strict JSON does not allow inside a string.
inline size_t findQuoteBackslashOrControl(std::string_view text, size_t from, bool& sawNonASCII) {
    return detail::findFirstNotingNonASCII(text, from, sawNonASCII, detail::quoteBackslashOrControl,
                                           [](unsigned char byte) { return byte == '"' || byte == '\\' || byte < 0x20; });
}

// How many of the eight bytes at `at` (there must be eight) come before the first '"', '\\' or
// control character: 8 when none of them is one.
inline size_t plainBytesInWord(std::string_view text, size_t at) {
    const uint64_t found = detail::quoteBackslashOrControl(detail::load(text, at));
    return found == 0 ? 8 : static_cast<size_t>(std::countr_zero(found) / 8);
}

// The index of the first non-ASCII byte at or after `from`, or text.size().
inline size_t findNonASCII(std::string_view text, size_t from) {
    return detail::findFirst(
        text, from, [](uint64_t word) { return word & detail::highBits; }, [](unsigned char byte) { return byte >= 0x80; });
}

// The index of the first carriage return or non-ASCII byte at or after `from`, or text.size().
inline size_t findCarriageReturnOrNonASCII(std::string_view text, size_t from) {
    return detail::findFirst(
        text, from, [](uint64_t word) { return (word & detail::highBits) | detail::matches(word, '\r'); },
        [](unsigned char byte) { return byte >= 0x80 || byte == '\r'; });
}

// The index of the first byte at or after `from` that is not JSON whitespace, or
// text.size(). Indentation makes long runs of spaces, which are passed a word at a time.
inline size_t skipWhitespace(std::string_view text, size_t from) {
    size_t at = from;
    while (at < text.size() && whitespace[static_cast<unsigned char>(text[at])]) {
        for (++at; at + 8 <= text.size(); at += 8) {
            const uint64_t others = detail::load(text, at) ^ (detail::ones * ' ');
            if (others != 0) break;
        }
        while (at < text.size() && text[at] == ' ') ++at;
    }
    return at;
}

}  // namespace tessaline::byteScan
