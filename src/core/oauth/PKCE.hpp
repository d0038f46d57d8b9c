#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Proof Key for Code Exchange (S256), and the random texts of an authorization request.
namespace tessaline::pkce {

// Base64 with "-" and "_" for "+" and "/", and no "=" padding.
std::string base64URL(std::string_view bytes);

// base64URL of that many bytes from the system's secure random source: 32 bytes make a
// 43-character code verifier, 16 a 22-character state.
std::string randomText(std::size_t byteCount);

// base64URL of the SHA-256 of the verifier.
std::string challenge(std::string_view verifier);

}  // namespace tessaline::pkce
