// Arbitrary text as a pasted curl command line: never a crash or a hang; a failure is a
// tessaline::Error with a message. Inputs that name files ("@file", "<file") are skipped, so
// that the run never reads the machine's files.
#include "core/interchange/CurlParser.hpp"

#include "core/support/Error.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (text.find_first_of("@<") != std::string_view::npos) return 0;
    try {
        const auto request = tessaline::CurlParser::parse(text);
        if (request.name.empty()) std::abort();
    } catch (const tessaline::Error& error) {
        if (std::string_view(error.what()).empty()) std::abort();
    }
    return 0;
}
