// Any bytes: the character count and the prefixes cut by it are ICU's, ill-formed sequences
// included.
#include "../tests/unit/support/ReferenceCharacters.hpp"

#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    if (tessaline::referenceCharacters::difference(input)) __builtin_trap();
    return 0;
}
