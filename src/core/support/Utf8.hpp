#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// UTF-8 validation and repair. Text that comes from outside (input lines, response bodies,
// files) is turned into valid UTF-8 here, never rejected.
namespace tessaline::utf8 {

bool isValid(std::string_view bytes);

// The index of the first byte at which `bytes` stop being the beginning of well-formed UTF-8,
// or bytes.size() when they are well-formed or only cut short at the end ("\xC3" is, "\xC3("
// stops at the "(", and "\x80" at once).
std::size_t firstIllFormedByte(std::string_view bytes);

// The bytes with every ill-formed sequence replaced by U+FFFD, one replacement per maximal
// subpart as the Unicode standard recommends (the same count a platform decoder yields).
std::string repaired(std::string_view bytes);

// Appends the UTF-8 encoding of a Unicode scalar value.
void appendScalar(std::string& out, char32_t scalar);

inline constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

// The halves of a UTF-16 surrogate pair, as JSON's "\\u" escapes write a scalar beyond U+FFFF.
constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
// The scalar a high and a low surrogate stand for together.
constexpr char32_t scalarOfSurrogates(char32_t high, char32_t low) { return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00); }

// The code point that starts a sequence and the number of bytes it takes. An ill-formed
// sequence reads as U+FFFD taking its maximal subpart (at least one byte), as `repaired` reads it.
struct CodePoint {
    char32_t scalar;
    std::size_t length;
    bool wellFormed;
};

namespace detail {

// What a lead byte allows: the number of continuation bytes, and the bounds of the first one,
// which rule out overlong forms, surrogates and values beyond U+10FFFF. Bytes that cannot
// lead a sequence allow none.
struct Lead {
    std::uint8_t continuations, low, high;
};

inline constexpr std::array<Lead, 256> leads = [] {
    std::array<Lead, 256> table{};
    for (int lead = 0; lead < 256; ++lead) {
        const std::uint8_t continuations = lead >= 0xF5 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : 0;
        table[lead] = {continuations, 0x80, 0xBF};
    }
    table[0xE0].low = 0xA0;
    table[0xED].high = 0x9F;
    table[0xF0].low = 0x90;
    table[0xF4].high = 0x8F;
    return table;
}();

}  // namespace detail

// The code point at bytes[at]; inline, as the counting of characters reads every one.
inline CodePoint codePointAt(std::string_view bytes, std::size_t at) {
    const auto lead = static_cast<std::uint8_t>(bytes[at]);
    if (lead < 0x80) return {lead, 1, true};
    const detail::Lead& form = detail::leads[lead];
    char32_t scalar = lead & (0x3F >> form.continuations);
    std::size_t length = 1;
    for (; length <= form.continuations && at + length < bytes.size(); ++length) {
        const auto next = static_cast<std::uint8_t>(bytes[at + length]);
        if (next < (length == 1 ? form.low : 0x80) || next > (length == 1 ? form.high : 0xBF)) break;
        scalar = scalar << 6 | (next & 0x3F);
    }
    if (form.continuations == 0 || length <= form.continuations) return {U'\uFFFD', length, false};
    return {scalar, length, true};
}

}  // namespace tessaline::utf8
