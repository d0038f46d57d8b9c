#include "core/support/Crypto.hpp"

#include "core/support/Error.hpp"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <climits>

namespace tessaline::crypto {

Sha256Digest sha256(std::string_view bytes) {
    Sha256Digest digest{};
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_sha256(), nullptr) != 1) {
        throw Error("SHA-256 is not available.");
    }
    return digest;
}

void fillRandom(std::span<std::uint8_t> buffer) {
    while (!buffer.empty()) {
        const auto chunk = std::min<std::size_t>(buffer.size(), INT_MAX);
        if (RAND_bytes(buffer.data(), static_cast<int>(chunk)) != 1) {
            throw Error("The system’s random number generator failed.");
        }
        buffer = buffer.subspan(chunk);
    }
}

std::string randomBytes(std::size_t count) {
    std::string bytes(count, '\0');
    fillRandom({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()});
    return bytes;
}

}  // namespace tessaline::crypto
