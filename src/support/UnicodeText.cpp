#include "support/UnicodeText.hpp"

#include "support/Utf8.hpp"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>

#include <memory>

namespace tessaline::unicodeText {
namespace {

// Walks the character boundaries of valid UTF-8 text, calling `visit` with the byte offset
// of each boundary after the start until it returns false.
template <typename Visit>
void forEachBoundary(std::string_view text, Visit visit) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    UText* utext = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    if (U_FAILURE(status)) {
        utext_close(utext);
        return;
    }
    characters->setText(utext, status);
    for (int32_t boundary = characters->next(); boundary != icu::BreakIterator::DONE; boundary = characters->next()) {
        if (!visit(static_cast<std::size_t>(boundary))) break;
    }
    utext_close(utext);
}

}  // namespace

std::string lowercased(std::string_view text) {
    std::string out;
    icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())))
        .toLower(icu::Locale::getRoot())
        .toUTF8String(out);
    return out;
}

std::size_t characterCount(std::string_view text) {
    // ASCII without CR is one character per byte; only the rest needs the break iterator.
    bool simple = true;
    for (const char c : text) simple = simple && static_cast<unsigned char>(c) < 0x80 && c != '\r';
    if (simple) return text.size();
    const std::string valid = utf8::repaired(text);
    std::size_t count = 0;
    forEachBoundary(valid, [&](std::size_t) { return ++count, true; });
    return count;
}

std::string_view characterPrefix(std::string_view text, std::size_t count) {
    if (count == 0) return {};
    std::size_t end = text.size();
    std::size_t seen = 0;
    forEachBoundary(text, [&](std::size_t boundary) {
        if (++seen < count) return true;
        end = boundary;
        return false;
    });
    return text.substr(0, end);
}

}  // namespace tessaline::unicodeText
