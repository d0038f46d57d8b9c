#include "core/support/Base64.hpp"

#include <openssl/evp.h>

#include <algorithm>

namespace tessaline::base64 {
namespace {

bool isAlphabet(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
}

// EVP_DecodeBlock skips white space and accepts padding anywhere in the last block, so the
// text is checked first.
bool isCanonical(std::string_view text) {
    if (text.size() % 4 != 0) return false;
    const auto body = text.substr(0, text.find_last_not_of('=') + 1);
    const auto padding = text.size() - body.size();
    return padding <= 2 && std::all_of(body.begin(), body.end(), isAlphabet);
}

}  // namespace

std::string encode(std::string_view bytes) {
    std::string text(4 * ((bytes.size() + 2) / 3), '\0');
    // EVP_EncodeBlock takes an int length; large bodies are encoded in whole 3-byte groups.
    constexpr std::size_t chunk = 3 * (1 << 20);
    std::size_t written = 0;
    for (std::size_t offset = 0; offset < bytes.size(); offset += chunk) {
        const auto part = bytes.substr(offset, chunk);
        written += static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data() + written),
                                                            reinterpret_cast<const unsigned char*>(part.data()),
                                                            static_cast<int>(part.size())));
    }
    return text;
}

std::optional<std::string> decode(std::string_view text) {
    if (!isCanonical(text)) return std::nullopt;
    std::string bytes(3 * (text.size() / 4), '\0');
    constexpr std::size_t chunk = 4 * (1 << 20);
    std::size_t written = 0;
    for (std::size_t offset = 0; offset < text.size(); offset += chunk) {
        const auto part = text.substr(offset, chunk);
        const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data() + written),
                                           reinterpret_cast<const unsigned char*>(part.data()), static_cast<int>(part.size()));
        if (length < 0) return std::nullopt;
        written += static_cast<std::size_t>(length);
    }
    // EVP_DecodeBlock writes a zero byte for each padding character.
    const auto padding = text.size() - (text.find_last_not_of('=') + 1);
    bytes.resize(written - padding);
    return bytes;
}

}  // namespace tessaline::base64
