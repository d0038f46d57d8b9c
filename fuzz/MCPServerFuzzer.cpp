// Arbitrary input lines for the JSON-RPC layer: never a crash or a hang, at most one reply
// per line, and every reply is a JSON object. The sample workspace's requests address a
// public host, so sends are held to loopback addresses: a run never reaches the network.
#include "mcp/MCPServer.hpp"
#include "support/CurlEngine.hpp"

#include <nlohmann/json.hpp>

#include <filesystem>

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tessaline::CurlEngine::shared().setLoopbackOnly(true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // One workspace for the whole run, so that tool calls the fuzzer finds edit real files.
    static tessaline::WorkspaceStore store(std::filesystem::temp_directory_path() / "tessaline-fuzz-workspace");
    static tessaline::MCPServer server(store);
    const auto reply = server.handle(std::string_view(reinterpret_cast<const char*>(data), size));
    if (reply && !nlohmann::json::parse(*reply, nullptr, false).is_object()) std::abort();
    return 0;
}
