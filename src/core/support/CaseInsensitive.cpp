#include "core/support/CaseInsensitive.hpp"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace tessaline::caseInsensitive {

bool equal(std::string_view text, std::string_view otherText) { return folded(text) == folded(otherText); }

std::string folded(std::string_view text) {
    std::string bytes;
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())))
        .foldCase(U_FOLD_CASE_DEFAULT)
        .toUTF8String(bytes);
}

}  // namespace tessaline::caseInsensitive
