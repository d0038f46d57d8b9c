#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// A 128-bit identifier. Every identified record carries one; its text is the upper-case
// 8-4-4-4-12 form (also used in file names), read back case-insensitively.
class Uuid {
public:
    using Bytes = std::array<std::uint8_t, 16>;

    // The nil UUID (all zero bits).
    constexpr Uuid() = default;
    constexpr explicit Uuid(const Bytes& bytes) : octets(bytes) {}

    // A fresh version 4 (random) UUID from the CSPRNG.
    static Uuid random();

    // Accepts exactly 36 characters, 8-4-4-4-12 hexadecimal digits in either case.
    static std::optional<Uuid> parse(std::string_view text);

    std::string text() const;
    std::string lowercaseText() const;
    const Bytes& bytes() const { return octets; }

    bool operator==(const Uuid&) const = default;
    // Byte by byte, as the text's digits sort.
    std::strong_ordering operator<=>(const Uuid& other) const {
        return std::memcmp(octets.data(), other.octets.data(), octets.size()) <=> 0;
    }

private:
    std::string formatted(std::string_view digits) const;

    Bytes octets{};
};

}  // namespace tessaline

template <>
struct std::hash<tessaline::Uuid> {
    std::size_t operator()(const tessaline::Uuid& uuid) const noexcept;
};
