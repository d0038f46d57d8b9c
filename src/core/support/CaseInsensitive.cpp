#include "core/support/CaseInsensitive.hpp"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>

namespace tessaline::caseInsensitive {
namespace {

bool isASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

// Header names and most keys are ASCII, whose full case folding is its lower case; folding
// them through ICU cost a send more than the rest of its header handling. (Texts with other
// characters take ICU's way: some of those fold to ASCII, as the Kelvin sign to "k".)
bool equal(std::string_view text, std::string_view otherText) {
    if (isASCII(text) && isASCII(otherText)) {
        return std::equal(text.begin(), text.end(), otherText.begin(), otherText.end(),
                          [](char one, char other) { return asciiLower(one) == asciiLower(other); });
    }
    return folded(text) == folded(otherText);
}

std::string folded(std::string_view text) {
    std::string bytes;
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())))
        .foldCase(U_FOLD_CASE_DEFAULT)
        .toUTF8String(bytes);
}

}  // namespace tessaline::caseInsensitive
