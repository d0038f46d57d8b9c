// Any text: a URL that parses comes back as libcurl itself writes it after parsing it, whether
// or not the quick check took it for libcurl's own form.
#include "core/http/CurlLibrary.hpp"
#include "core/http/URLComponents.hpp"

#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

// libcurl's own writing of `text`, parsed as URLComponents parses it.
std::string writtenByLibcurl(const std::string& text) {
    const auto& curl = tessaline::curl();
    CURLU* url = curl.url();
    require(url != nullptr && curl.urlSet(url, CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK);
    char* written = nullptr;
    require(curl.urlGet(url, CURLUPART_URL, &written, 0) == CURLUE_OK);
    std::string result(written);
    curl.free(written);
    curl.urlCleanup(url);
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (text.find('\0') != std::string::npos) return 0;
    const auto parsed = tessaline::URLComponents::parse(text);
    if (parsed) require(parsed->text() == writtenByLibcurl(text));
    return 0;
}
