// Any bytes either decode to a workspace or fail with a DecodingError; a decoded workspace
// encodes to bytes that decode to an equal workspace and encode to the same bytes again.
#include "core/model/WorkspaceCoding.hpp"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessaline;
    Workspace workspace;
    try {
        workspace = decodeWorkspace(std::string_view(reinterpret_cast<const char*>(data), size));
    } catch (const DecodingError&) {
        return 0;
    }
    const auto bytes = encodeWorkspace(workspace);
    const auto again = decodeWorkspace(bytes);
    if (again != workspace || encodeWorkspace(again) != bytes) std::abort();
    return 0;
}
