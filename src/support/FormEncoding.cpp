#include "support/FormEncoding.hpp"

#include <optional>

namespace tessaline::formEncoding {
namespace {

bool isKept(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '*';
}

std::optional<int> hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return std::nullopt;
}

}  // namespace

std::string percentEncoded(std::string_view text) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (isKept(byte)) {
            result += c;
        } else {
            result += '%';
            result += digits[byte >> 4];
            result += digits[byte & 0x0F];
        }
    }
    return result;
}

std::string percentDecoded(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        const auto high = i + 2 < text.size() ? hexValue(text[i + 1]) : std::nullopt;
        const auto low = i + 2 < text.size() ? hexValue(text[i + 2]) : std::nullopt;
        if (!high || !low) return std::string(text);
        result += static_cast<char>(*high * 16 + *low);
        i += 2;
    }
    return result;
}

std::string encoded(const Fields& fields) {
    std::string result;
    for (const auto& [name, value] : fields) {
        if (!result.empty()) result += '&';
        result += percentEncoded(name) + "=" + percentEncoded(value);
    }
    return result;
}

Fields decoded(std::string_view text) {
    Fields fields;
    while (!text.empty()) {
        const auto end = text.find('&');
        const auto piece = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (piece.empty()) continue;
        const auto equals = piece.find('=');
        fields.emplace_back(percentDecoded(piece.substr(0, equals)),
                            equals == std::string_view::npos ? std::string() : percentDecoded(piece.substr(equals + 1)));
    }
    return fields;
}

}  // namespace tessaline::formEncoding
