#include "core/interchange/FormEncoding.hpp"

#include "core/http/RequestBuilder.hpp"
#include "core/support/PercentEncoding.hpp"

#include <algorithm>

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

}  // namespace

std::string curlEscaped(std::string_view text) { return escaped(text, "-._~"); }

std::string decoded(std::string_view text, bool plusIsSpace) {
    if (!plusIsSpace) return percentEncoding::decode(text);
    std::string spaced(text);
    std::replace(spaced.begin(), spaced.end(), '+', ' ');  // before decoding, so that %2B stays "+"
    return percentEncoding::decode(spaced);
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
    if (requestBuilder::resolve(probe, std::nullopt, VariableResolver{}).body != body) return std::nullopt;
    return rows;
}

}  // namespace tessaline::formEncoding
