#include "interchange/FormEncoding.hpp"

#include "http/RequestBuilder.hpp"

#include <charconv>

namespace tessaline::formEncoding {
namespace {

bool isAlphanumeric(unsigned char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

std::string escaped(std::string_view text, std::string_view keep) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (isAlphanumeric(byte) || keep.find(c) != std::string_view::npos) {
            result += c;
        } else if (c == ' ') {
            result += '+';
        } else {
            result += '%';
            result += digits[byte >> 4];
            result += digits[byte & 0xF];
        }
    }
    return result;
}

// The byte that two hexadecimal digits at `at` spell, if they do.
std::optional<char> escapedByte(std::string_view text, std::size_t at) {
    if (at + 2 > text.size()) return std::nullopt;
    unsigned value = 0;
    const auto* end = text.data() + at + 2;
    const auto [stop, error] = std::from_chars(text.data() + at, end, value, 16);
    if (error != std::errc() || stop != end) return std::nullopt;
    return static_cast<char>(value);
}

}  // namespace

std::string curlEscaped(std::string_view text) { return escaped(text, "-._~"); }

std::string decoded(std::string_view text, bool plusIsSpace) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const auto byte = c == '%' ? escapedByte(text, i + 1) : std::nullopt;
        if (byte) {
            result += *byte;
            i += 2;
        } else {
            result += plusIsSpace && c == '+' ? ' ' : c;
        }
    }
    return result;
}

std::optional<std::vector<KeyValue>> rowsIfExact(std::string_view body) {
    std::vector<KeyValue> rows;
    for (std::size_t start = 0; start < body.size();) {
        const auto end = std::min(body.find('&', start), body.size());
        const auto pair = body.substr(start, end - start);
        const auto equals = pair.find('=');
        if (equals == std::string_view::npos) return std::nullopt;
        rows.push_back({.key = decoded(pair.substr(0, equals), true), .value = decoded(pair.substr(equals + 1), true)});
        start = end + 1;
    }
    const APIRequest probe{.method = HTTPMethod::post, .url = "http://localhost/", .body = {.kind = BodyKind::formURLEncoded, .form = rows}};
    if (RequestBuilder::resolve(probe, std::nullopt, VariableResolver{}).body != body) return std::nullopt;
    return rows;
}

}  // namespace tessaline::formEncoding
