// Arbitrary bytes as what an authorization server or another program hands the OAuth 2 code:
// a token endpoint's body at a success and an error status, a redirect URL, and the token
// cache file. Never a crash or a hang; the only failures are OAuth2Error and DecodingError,
// and a cache file that reads, once written, reads back to the same bytes.
#include "core/oauth/OAuth2Error.hpp"
#include "core/oauth/OAuth2ResponseBody.hpp"
#include "core/oauth/OAuth2TokenCache.hpp"
#include "core/oauth/RedirectParameters.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tessaline;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);

    for (const long status : {200L, 502L}) {
        try {
            OAuth2ResponseBody(status, std::string(bytes)).token(Date{});
        } catch (const OAuth2Error&) {
        }
    }
    redirectParameters(bytes);
    try {
        const auto written = encodeTokenCacheFile(decodeTokenCacheFile(bytes));
        if (encodeTokenCacheFile(decodeTokenCacheFile(written)) != written) std::abort();
    } catch (const DecodingError&) {
    }
    return 0;
}
