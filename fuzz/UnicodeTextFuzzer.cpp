// Any bytes: the character count and the prefixes cut by it are ICU's, ill-formed sequences
// included. ICU's character break iterator is the reference.
#include "core/support/UnicodeText.hpp"

#include <unicode/brkiter.h>
#include <unicode/utext.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace tessaline;

// The byte offset where each character of the UTF-8 text ends, ill-formed sequences read by
// ICU itself.
std::vector<std::size_t> ends(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    UText* utext = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    std::vector<std::size_t> offsets;
    if (U_SUCCESS(status)) {
        characters->setText(utext, status);
        for (int32_t end = characters->next(); end != icu::BreakIterator::DONE; end = characters->next()) {
            offsets.push_back(static_cast<std::size_t>(end));
        }
    }
    utext_close(utext);
    return offsets;
}

// Where characterCount or characterPrefix differ from ICU on the text: a description of the
// first difference, or nothing. Prefixes are compared for every count up to 64, for the powers
// of two beyond, and for the total and one more, as each costs a scan.
std::optional<std::string> difference(std::string_view text) {
    const std::vector<std::size_t> expected = ends(text);
    if (const std::size_t count = unicodeText::characterCount(text); count != expected.size()) {
        return "characterCount " + std::to_string(count) + ", ICU " + std::to_string(expected.size());
    }
    const auto nextCount = [&](std::size_t count) {
        return count < 64 || count >= expected.size() ? count + 1 : std::min(count * 2, expected.size());
    };
    for (std::size_t count = 0; count <= expected.size() + 1; count = nextCount(count)) {
        const std::size_t end = count == 0 ? 0 : count > expected.size() ? text.size() : expected[count - 1];
        if (const std::size_t prefix = unicodeText::characterPrefix(text, count).size(); prefix != end) {
            return "characterPrefix of " + std::to_string(count) + ": " + std::to_string(prefix) + " bytes, ICU " +
                   std::to_string(end);
        }
    }
    return std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    if (difference(input)) __builtin_trap();
    return 0;
}
