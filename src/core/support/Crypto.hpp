#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// SHA-256 and the system's cryptographically secure random numbers.
namespace tessaline::crypto {

using Sha256Digest = std::array<std::uint8_t, 32>;

Sha256Digest sha256(std::string_view bytes);

// Fills the buffer from the CSPRNG; throws tessaline::Error if the generator fails,
// which only happens when the system cannot seed it.
void fillRandom(std::span<std::uint8_t> buffer);

std::string randomBytes(std::size_t count);

}  // namespace tessaline::crypto
