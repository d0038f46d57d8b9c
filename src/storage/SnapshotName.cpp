#include "storage/SnapshotName.hpp"

#include "support/Error.hpp"
#include "support/Utf8.hpp"

#include <unicode/brkiter.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <memory>

namespace tessaline::snapshotName {
namespace {

constexpr std::size_t reasonLimit = 60;  // user-perceived characters
constexpr std::string_view extension = ".json";
constexpr std::size_t stampLength = 20;
constexpr std::size_t fileNameLimit = 255;  // bytes, the usual NAME_MAX
constexpr std::size_t encodedReasonLimit = fileNameLimit - stampLength - 1 - extension.size();

// Formatters are costly to build and not safe to share between threads: one per thread.
// Throws tessaline::Error only when ICU lacks its data.
icu::SimpleDateFormat& stampFormat() {
    thread_local const std::unique_ptr<icu::SimpleDateFormat> format = [] {
        UErrorCode status = U_ZERO_ERROR;
        auto made = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString("yyyyMMdd'T'HHmmss.SSS'Z'"),
                                                            icu::Locale("en_US_POSIX"), status);
        if (U_FAILURE(status)) throw Error(std::string("Couldn't set up date stamps: ") + u_errorName(status));
        made->adoptTimeZone(icu::TimeZone::getGMT()->clone());
        made->setLenient(false);
        return made;
    }();
    return *format;
}

icu::BreakIterator* characterBreaks() {
    thread_local const std::unique_ptr<icu::BreakIterator> breaks = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return breaks.get();
}

std::string stamp(Date date) {
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch()).count();
    icu::UnicodeString text;
    stampFormat().format(static_cast<UDate>(milliseconds), text);
    std::string utf8;
    return text.toUTF8String(utf8);
}

std::optional<Date> parseStamp(std::string_view text) {
    if (text.size() != stampLength) return std::nullopt;
    const auto unicode = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    icu::ParsePosition position(0);
    const UDate date = stampFormat().parse(unicode, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != unicode.length()) return std::nullopt;
    const auto result = Date(std::chrono::milliseconds(static_cast<std::int64_t>(date)));
    // The strict parser still takes a few spellings (a sign, fewer digits) that the formatter
    // never writes; only a stamp that formats back to itself is one of ours.
    if (stamp(result) != text) return std::nullopt;
    return result;
}

bool staysPlain(UChar32 scalar) {
    return (U_GET_GC_MASK(scalar) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_ND_MASK)) != 0;
}

void appendEscaped(std::string& out, std::string_view bytes) {
    static constexpr char digits[] = "0123456789ABCDEF";
    for (const unsigned char byte : bytes) {
        out += '%';
        out += digits[byte >> 4];
        out += digits[byte & 0xF];
    }
}

// `cluster` is valid UTF-8.
void appendEncoded(std::string& out, std::string_view cluster) {
    const auto length = static_cast<int32_t>(cluster.size());
    for (int32_t index = 0; index < length;) {
        const int32_t start = index;
        UChar32 scalar = 0;
        U8_NEXT(cluster.data(), index, length, scalar);
        const auto bytes = cluster.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(index - start));
        if (staysPlain(scalar)) {
            out += bytes;
        } else {
            appendEscaped(out, bytes);
        }
    }
}

std::optional<std::string> encodedReason(std::string_view reason) {
    const auto text = utf8::repaired(reason);
    auto* breaks = characterBreaks();
    if (breaks == nullptr) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    icu::LocalUTextPointer utext(utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status));
    breaks->setText(utext.getAlias(), status);
    if (U_FAILURE(status)) return std::nullopt;
    std::string encoded;
    int32_t start = breaks->first();
    for (std::size_t count = 0; count < reasonLimit; ++count) {
        const int32_t end = breaks->next();
        if (end == icu::BreakIterator::DONE) break;
        std::string piece;
        appendEncoded(piece, std::string_view(text).substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
        if (encoded.size() + piece.size() > encodedReasonLimit) break;
        encoded += piece;
        start = end;
    }
    return encoded;
}

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

// Absent when a "%" is not followed by two hexadecimal digits or the bytes are not UTF-8.
std::optional<std::string> percentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '%') {
            decoded += text[index];
            continue;
        }
        if (index + 2 >= text.size()) return std::nullopt;
        const int high = hexValue(text[index + 1]);
        const int low = hexValue(text[index + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        decoded += static_cast<char>(high * 16 + low);
        index += 2;
    }
    if (!utf8::isValid(decoded)) return std::nullopt;
    return decoded;
}

}  // namespace

std::string make(Date date, std::string_view reason) {
    return stamp(date) + "~" + encodedReason(reason).value_or(std::string(autosave)) + std::string(extension);
}

std::optional<Parsed> parse(std::string_view fileName) {
    if (!fileName.ends_with(extension)) return std::nullopt;
    const auto stem = fileName.substr(0, fileName.size() - extension.size());
    const auto separator = stem.find('~');
    const auto date = parseStamp(stem.substr(0, separator));
    if (!date) return std::nullopt;
    const auto reason = separator == std::string_view::npos ? std::string_view() : stem.substr(separator + 1);
    if (reason.empty()) return Parsed{*date, std::string(autosave)};
    return Parsed{*date, percentDecoded(reason).value_or(utf8::repaired(reason))};
}

}  // namespace tessaline::snapshotName
