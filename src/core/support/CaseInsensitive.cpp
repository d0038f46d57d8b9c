#include "core/support/CaseInsensitive.hpp"

#include "core/support/AsciiCase.hpp"

#include <unicode/uchar.h>
#include <unicode/unistr.h>


namespace tessaline::caseInsensitive {

// Header names and most keys are ASCII, whose full case folding is its lower case; folding
// them through ICU cost a send more than the rest of its header handling. (Texts with other
// characters take ICU's way: some of those fold to ASCII, as the Kelvin sign to "k".)
bool equal(std::string_view text, std::string_view otherText) {
    if (asciiCase::isASCII(text) && asciiCase::isASCII(otherText)) return asciiCase::equal(text, otherText);
    return folded(text) == folded(otherText);
}

std::string folded(std::string_view text) {
    std::string bytes;
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())))
        .foldCase(U_FOLD_CASE_DEFAULT)
        .toUTF8String(bytes);
}

}  // namespace tessaline::caseInsensitive
