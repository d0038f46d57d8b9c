#include "core/support/PercentEncoding.hpp"

#include "core/support/Hexadecimal.hpp"

namespace tessaline::percentEncoding {
namespace {

bool isASCIIAlphanumeric(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

// Decodes into `decoded`; false at the first "%" that begins no escape when `strict`.
bool decodeInto(std::string& decoded, std::string_view text, Blank blank, bool strict) {
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexadecimal::digitValue(text[i + 1]) : -1;
        const int low = high >= 0 ? hexadecimal::digitValue(text[i + 2]) : -1;
        if (low >= 0) {
            decoded += static_cast<char>(high * 16 + low);
            i += 2;
        } else if (strict && text[i] == '%') {
            return false;
        } else {
            decoded += blank == Blank::plus && text[i] == '+' ? ' ' : text[i];
        }
    }
    return true;
}

}  // namespace

std::string encode(std::string_view text, std::string_view kept, Blank blank) {
    std::string encoded;
    encoded.reserve(text.size());
    for (const char c : text) {
        if (isASCIIAlphanumeric(c) || kept.find(c) != std::string_view::npos) {
            encoded += c;
        } else if (c == ' ' && blank == Blank::plus) {
            encoded += '+';
        } else {
            encoded += '%';
            hexadecimal::appendByte(encoded, static_cast<unsigned char>(c), hexadecimal::upperDigits);
        }
    }
    return encoded;
}

std::string decode(std::string_view text, Blank blank) {
    std::string decoded;
    decodeInto(decoded, text, blank, false);
    return decoded;
}

std::optional<std::string> decodeStrictly(std::string_view text) {
    std::string decoded;
    if (!decodeInto(decoded, text, Blank::escaped, true)) return std::nullopt;
    return decoded;
}

}  // namespace tessaline::percentEncoding
