// Arbitrary request texts through the resolver and the chain analyzer, with the same bytes as
// the body of every chained response: never a crash or a hang, and text without "{{" comes
// back unchanged.
#include "core/variables/VariableResolver.hpp"
#include "desktop/editing/ChainAnalyzer.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tessaline;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    // A random string is as long as its placeholder asks, which only memory limits.
    if (text.find("randomString") != std::string_view::npos) return 0;

    const StoredResponse response{.status = 200, .headers = {{.key = "X-A.B", .value = "v"}}, .body = std::string(text)};
    const VariableResolver resolver{
        .scopes = {{{.key = "a", .value = "{{b}}"}, {.key = "b", .value = "{{a}}{{ c }}"}, {.key = "c", .value = "x"}},
                   {{.key = "body", .value = "{{@R.body.0.a}}"}}},
        .responseLookup = [&response](const std::string&) { return std::optional(response); },
        .now = fixedClock(Date{})};

    const auto resolved = resolver.resolve(text);
    if (text.find("{{") == std::string_view::npos && resolved != text) std::abort();
    resolver.unresolvedNames(text);
    chainAnalyzer::references(text);
    return 0;
}
