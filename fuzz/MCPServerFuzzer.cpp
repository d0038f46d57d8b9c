// Arbitrary input lines for the JSON-RPC layer: never a crash or a hang, at most one reply
// per line, and every reply is one JSON object on one line. A line that nlohmann reads as a
// JSON object is never answered with a parse error: the server reads lines with its own
// strict grammar, which must accept at least what nlohmann accepts. The sample workspace's requests
// address a public host, so sends are held to loopback addresses: a run never reaches the
// network.
#include "core/http/CurlEngine.hpp"
#include "core/support/Utf8.hpp"
#include "server/mcp/JSONRPCMessage.hpp"
#include "server/mcp/MCPServer.hpp"

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
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    const auto reply = server.handle(line);
    if (!reply) return 0;
    // An echoed id may be a number nlohmann cannot hold, so the server's own reader checks
    // that the reply is one JSON object.
    if (!tessaline::JSONRPCMessage::read(*reply) || reply->find('\n') != std::string::npos) std::abort();
    const bool parseError = reply->starts_with(R"({"error":{"code":-32700,)");
    const bool hasNul = line.find('\0') != std::string_view::npos;  // nlohmann stops reading at a NUL
    if (parseError && !hasNul && nlohmann::json::parse(tessaline::utf8::repaired(line), nullptr, false).is_object()) {
        std::abort();
    }
    return 0;
}
