#include "core/support/UnicodeText.hpp"

#include "core/support/AsciiCase.hpp"
#include "core/support/ByteScan.hpp"
#include "core/support/Utf8.hpp"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace tessaline::unicodeText {
namespace {

// What the character boundary rules need to know of a code point: its Grapheme_Cluster_Break
// value, with Extend split by combining class and three more properties as values of their own.
// That loses nothing: every Extended_Pictographic code point and every linking consonant has the
// value Other, and every linking virama is an Extend mark of a non-zero class.
enum class Kind : std::uint8_t {
    other, cr, lf, control, extend, combiningMark, virama, zwj, regionalIndicator, prepend, spacingMark,
    l, v, t, lv, lvt, pictographic, linkingConsonant
};

// The scripts whose consonants a virama joins into one character (a tailoring of ICU's root rules).
bool linksConsonants(UChar32 c) {
    UErrorCode status = U_ZERO_ERROR;
    switch (uscript_getScript(c, &status)) {
        case USCRIPT_BENGALI:
        case USCRIPT_DEVANAGARI:
        case USCRIPT_GUJARATI:
        case USCRIPT_MALAYALAM:
        case USCRIPT_ORIYA:
        case USCRIPT_TELUGU: return true;
        default: return false;
    }
}

UIndicSyllabicCategory syllabicCategory(UChar32 c) {
    return static_cast<UIndicSyllabicCategory>(u_getIntPropertyValue(c, UCHAR_INDIC_SYLLABIC_CATEGORY));
}

Kind extendKind(UChar32 c) {
    if (u_getCombiningClass(c) == 0) return Kind::extend;
    return syllabicCategory(c) == U_INSC_VIRAMA && linksConsonants(c) ? Kind::virama : Kind::combiningMark;
}

Kind otherKind(UChar32 c) {
    if (u_hasBinaryProperty(c, UCHAR_EXTENDED_PICTOGRAPHIC)) return Kind::pictographic;
    return syllabicCategory(c) == U_INSC_CONSONANT && linksConsonants(c) ? Kind::linkingConsonant : Kind::other;
}

Kind kindFromICU(char32_t scalar) {
    const auto c = static_cast<UChar32>(scalar);
    switch (static_cast<UGraphemeClusterBreak>(u_getIntPropertyValue(c, UCHAR_GRAPHEME_CLUSTER_BREAK))) {
        case U_GCB_CR: return Kind::cr;
        case U_GCB_LF: return Kind::lf;
        case U_GCB_CONTROL: return Kind::control;
        case U_GCB_EXTEND: return extendKind(c);
        case U_GCB_ZWJ: return Kind::zwj;
        case U_GCB_REGIONAL_INDICATOR: return Kind::regionalIndicator;
        case U_GCB_PREPEND: return Kind::prepend;
        case U_GCB_SPACING_MARK: return Kind::spacingMark;
        case U_GCB_L: return Kind::l;
        case U_GCB_V: return Kind::v;
        case U_GCB_T: return Kind::t;
        case U_GCB_LV: return Kind::lv;
        case U_GCB_LVT: return Kind::lvt;
        default: return otherKind(c);
    }
}

// The kinds of the basic and supplementary multilingual planes, where text and emoji live, one
// byte each; built on first use (the initialisation of a local static is thread-safe).
using KindTable = std::array<Kind, 0x20000>;

const KindTable& kindTable() {
    static const KindTable table = [] {
        KindTable kinds;
        for (char32_t c = 0; c < kinds.size(); ++c) kinds[c] = kindFromICU(c);
        return kinds;
    }();
    return table;
}

// Progress through Extended_Pictographic Extend* ZWJ, which joins the next pictograph.
enum class Emoji : std::uint8_t { none, pictographic, afterZWJ };

// Progress through a linking consonant and marks with a virama among them, which joins the next
// linking consonant.
enum class Conjunct : std::uint8_t { none, consonant, afterVirama };

// What the boundary rules remember of the text before the next code point.
struct Context {
    Kind previous = Kind::control;  // the start of the text breaks before anything, as a control does
    Emoji emoji = Emoji::none;
    Conjunct conjunct = Conjunct::none;
    bool oddRegionalIndicators = false;  // an odd number of regional indicators just before
};

constexpr bool breaksAlways(Kind kind) { return kind == Kind::control || kind == Kind::cr || kind == Kind::lf; }

constexpr bool isExtend(Kind kind) { return kind == Kind::extend || kind == Kind::combiningMark || kind == Kind::virama; }

constexpr bool joinsHangul(Kind first, Kind second) {
    switch (first) {
        case Kind::l: return second == Kind::l || second == Kind::v || second == Kind::lv || second == Kind::lvt;
        case Kind::lv:
        case Kind::v: return second == Kind::v || second == Kind::t;
        case Kind::lvt:
        case Kind::t: return second == Kind::t;
        default: return false;
    }
}

// The extended grapheme cluster rules GB3 to GB13 of Unicode's text segmentation, and ICU's rule
// that keeps a consonant, a virama and the next consonant together.
constexpr bool joins(const Context& context, Kind next) {
    const Kind previous = context.previous;
    if (previous == Kind::cr && next == Kind::lf) return true;
    if (breaksAlways(previous) || breaksAlways(next)) return false;
    return joinsHangul(previous, next) || isExtend(next) || next == Kind::zwj || next == Kind::spacingMark ||
           previous == Kind::prepend || (next == Kind::pictographic && context.emoji == Emoji::afterZWJ) ||
           (next == Kind::linkingConsonant && context.conjunct == Conjunct::afterVirama) ||
           (next == Kind::regionalIndicator && context.oddRegionalIndicators);
}

constexpr Emoji emojiAfter(Emoji emoji, Kind next) {
    if (next == Kind::pictographic) return Emoji::pictographic;
    if (emoji != Emoji::pictographic) return Emoji::none;
    if (isExtend(next)) return Emoji::pictographic;
    return next == Kind::zwj ? Emoji::afterZWJ : Emoji::none;
}

constexpr Conjunct conjunctAfter(Conjunct conjunct, Kind next) {
    if (next == Kind::linkingConsonant) return Conjunct::consonant;
    if (conjunct == Conjunct::none) return Conjunct::none;
    if (next == Kind::virama) return Conjunct::afterVirama;
    return next == Kind::combiningMark || next == Kind::zwj ? conjunct : Conjunct::none;
}

constexpr Context contextAfter(const Context& context, Kind next) {
    return {next, emojiAfter(context.emoji, next), conjunctAfter(context.conjunct, next),
            next == Kind::regionalIndicator && !context.oddRegionalIndicators};
}

// The rules compiled for every context and kind, so that a code point costs one lookup. A context
// is known by its number; an entry is the next context's number times two, plus one where a
// character begins.
class BoundaryTable {
public:
    static constexpr std::uint16_t numberOf(const Context& context) {
        return static_cast<std::uint16_t>(
            ((static_cast<std::size_t>(context.previous) * emojiCount + static_cast<std::size_t>(context.emoji)) *
                 conjunctCount + static_cast<std::size_t>(context.conjunct)) * 2 + (context.oddRegionalIndicators ? 1 : 0));
    }

    constexpr BoundaryTable() {
        for (std::size_t number = 0; number < contextCount; ++number) {
            const Context context = numbered(number);
            for (std::size_t kind = 0; kind < kindCount; ++kind) {
                const Kind next = static_cast<Kind>(kind);
                entries[number][kind] =
                    static_cast<std::uint16_t>(numberOf(contextAfter(context, next)) * 2 + (joins(context, next) ? 0 : 1));
            }
        }
    }

    constexpr std::uint16_t entry(std::uint16_t context, Kind next) const {
        return entries[context][static_cast<std::size_t>(next)];
    }

private:
    static constexpr std::size_t kindCount = static_cast<std::size_t>(Kind::linkingConsonant) + 1;
    static constexpr std::size_t emojiCount = 3;
    static constexpr std::size_t conjunctCount = 3;
    static constexpr std::size_t contextCount = kindCount * emojiCount * conjunctCount * 2;

    static constexpr Context numbered(std::size_t number) {
        const std::size_t pairs = number / 2, progress = pairs / conjunctCount;
        return {static_cast<Kind>(progress / emojiCount), static_cast<Emoji>(progress % emojiCount),
                static_cast<Conjunct>(pairs % conjunctCount), number % 2 == 1};
    }

    std::array<std::array<std::uint16_t, kindCount>, contextCount> entries{};
};

constexpr BoundaryTable boundaryTable;

struct Scan {
    std::size_t characters;
    std::size_t end;  // byte offset where the scan stopped
};

// Counts characters from the start of the text, stopping at the end or where the character
// after the first `limit` begins.
Scan scanCharacters(std::string_view text, std::size_t limit) {
    const KindTable& kinds = kindTable();
    std::uint16_t context = BoundaryTable::numberOf(Context{});
    Scan scan{0, 0};
    const auto takeIn = [&](Kind next) {
        const std::uint16_t entry = boundaryTable.entry(context, next);
        context = entry / 2;
        return entry % 2 == 1;
    };
    while (scan.end < text.size()) {
        const utf8::CodePoint next = utf8::codePointAt(text, scan.end);
        if (takeIn(next.scalar < kinds.size() ? kinds[next.scalar] : kindFromICU(next.scalar))) {
            if (scan.characters == limit) break;
            ++scan.characters;
        }
        scan.end += next.length;
        if (next.scalar >= 0x80 || next.scalar == '\r') continue;
        // After an ASCII code point other than CR, each ASCII code point begins a character.
        const std::size_t run =
            std::min(byteScan::findCarriageReturnOrNonASCII(text, scan.end) - scan.end, limit - scan.characters);
        if (run == 0) continue;
        scan.characters += run;
        scan.end += run;
        takeIn(kinds[static_cast<unsigned char>(text[scan.end - 1])]);
    }
    return scan;
}

}  // namespace

std::string lowercased(std::string_view text) {
    // Header names and most keys are ASCII, where the root locale's rule is the ASCII one.
    if (asciiCase::isASCII(text)) return asciiCase::lowered(text);
    std::string out;
    icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())))
        .toLower(icu::Locale::getRoot())
        .toUTF8String(out);
    return out;
}

std::size_t characterCount(std::string_view text) {
    return scanCharacters(text, std::numeric_limits<std::size_t>::max()).characters;
}

std::string_view characterPrefix(std::string_view text, std::size_t count) {
    return text.substr(0, scanCharacters(text, count).end);
}

}  // namespace tessaline::unicodeText
