#include "core/support/Uuid.hpp"

#include "core/support/Crypto.hpp"
#include "core/support/Hexadecimal.hpp"

#include <cstring>

namespace tessaline {
namespace {

constexpr bool isHyphenPosition(std::size_t i) { return i == 8 || i == 13 || i == 18 || i == 23; }

}  // namespace

Uuid Uuid::random() {
    // One generator call per 1024 identifiers: each call re-keys the generator, which cost more
    // than the rest of a small send's bookkeeping when every header row drew its own, and
    // still about 2% of a small send's time when it came every 64. The pool is per thread, and
    // nothing here forks, so no two identifiers share bytes.
    constexpr std::size_t pooled = 1024;
    thread_local std::array<std::uint8_t, pooled * sizeof(Bytes)> pool;
    thread_local std::size_t used = pooled;
    if (used == pooled) {
        crypto::fillRandom(pool);
        used = 0;
    }
    Bytes bytes;
    std::memcpy(bytes.data(), pool.data() + used++ * bytes.size(), bytes.size());
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    return Uuid(bytes);
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36) return std::nullopt;
    Bytes bytes{};
    std::size_t nibble = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isHyphenPosition(i)) {
            if (text[i] != '-') return std::nullopt;
            continue;
        }
        const int value = hexadecimal::digitValue(text[i]);
        if (value < 0) return std::nullopt;
        bytes[nibble / 2] = static_cast<std::uint8_t>(bytes[nibble / 2] | (nibble % 2 == 0 ? value << 4 : value));
        ++nibble;
    }
    return Uuid(bytes);
}

std::string Uuid::formatted(std::string_view digits) const {
    std::string text;
    text.reserve(36);
    for (std::size_t i = 0; i < octets.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text.push_back('-');
        hexadecimal::appendByte(text, octets[i], digits);
    }
    return text;
}

std::string Uuid::text() const { return formatted(hexadecimal::upperDigits); }

std::string Uuid::lowercaseText() const { return formatted(hexadecimal::lowerDigits); }

}  // namespace tessaline

std::size_t std::hash<tessaline::Uuid>::operator()(const tessaline::Uuid& uuid) const noexcept {
    // Random UUIDs are uniformly distributed already; folding the two halves is enough.
    std::uint64_t high = 0, low = 0;
    std::memcpy(&high, uuid.bytes().data(), 8);
    std::memcpy(&low, uuid.bytes().data() + 8, 8);
    return static_cast<std::size_t>(high ^ (low * 0x9E3779B97F4A7C15ull));
}
