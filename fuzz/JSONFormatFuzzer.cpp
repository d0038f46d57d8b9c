// Any input: no crash and valid UTF-8 out; the token list and the joined text agree; for
// valid JSON, formatting changes nothing but layout.
#include <cstdint>
#include <string>
#include <string_view>

#include "core/support/Utf8.hpp"
#include "desktop/json/JSONFormat.hpp"

using tessaline::JSONFormat;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string minified = JSONFormat::minified(input);
    if (!tessaline::utf8::isValid(minified)) __builtin_trap();
    // Pretty output grows with depth times length; keep it small for unbalanced inputs.
    if (size > 4096) return 0;
    const std::string pretty = JSONFormat::prettyPrinted(input, "  ");
    std::string joined;
    for (const auto& token : JSONFormat::tokens(input, "  ", "\n", " ")) joined += token.text;
    if (joined != pretty) __builtin_trap();
    if (JSONFormat::isValid(input)) {
        if (JSONFormat::minified(pretty) != minified) __builtin_trap();
        if (!JSONFormat::isValid(pretty) || !JSONFormat::isValid(minified)) __builtin_trap();
    }
    return 0;
}
