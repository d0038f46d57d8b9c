#include "support/PercentEncoding.hpp"

namespace tessaline::percentEncoding {
namespace {

bool isASCIIAlphanumeric(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

}  // namespace

std::string encode(std::string_view text, std::string_view kept) {
    constexpr std::string_view hexDigits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size());
    for (const char c : text) {
        if (isASCIIAlphanumeric(c) || kept.find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded += '%';
            encoded += hexDigits[byte >> 4];
            encoded += hexDigits[byte & 0xF];
        }
    }
    return encoded;
}

}  // namespace tessaline::percentEncoding
