#include "support/CaseInsensitive.hpp"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace tessaline::caseInsensitive {
namespace {

icu::UnicodeString unicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

}  // namespace

bool equal(std::string_view text, std::string_view otherText) {
    return unicode(text).foldCase(U_FOLD_CASE_DEFAULT) == unicode(otherText).foldCase(U_FOLD_CASE_DEFAULT);
}

bool contains(std::string_view text, std::string_view part) {
    if (part.empty()) return true;  // ICU finds no empty text
    const auto& root = icu::Locale::getRoot();
    return unicode(text).toLower(root).indexOf(unicode(part).toLower(root)) >= 0;
}

}  // namespace tessaline::caseInsensitive
