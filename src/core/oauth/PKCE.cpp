#include "core/oauth/PKCE.hpp"

#include "core/support/Base64.hpp"
#include "core/support/Crypto.hpp"

#include <algorithm>

namespace tessaline::pkce {

std::string base64URL(std::string_view bytes) {
    auto text = base64::encode(bytes);
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    text.erase(text.find_last_not_of('=') + 1);
    return text;
}

std::string randomText(std::size_t byteCount) { return base64URL(crypto::randomBytes(byteCount)); }

std::string challenge(std::string_view verifier) {
    const auto digest = crypto::sha256(verifier);
    return base64URL({reinterpret_cast<const char*>(digest.data()), digest.size()});
}

}  // namespace tessaline::pkce
