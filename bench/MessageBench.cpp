// What reading one input line costs the message loop before any tool runs: a ping, a
// cancellation, and a tools/call whose arguments hold a few hundred values (an unknown tool,
// so that the figure is the envelope and the params, not a tool).
#include "core/storage/WorkspaceStore.hpp"
#include "server/mcp/MCPServer.hpp"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

namespace {

using namespace tessaline;

std::string callWithArguments(int count) {
    std::string arguments;
    for (int index = 0; index < count; ++index) {
        if (index > 0) arguments += ',';
        arguments += "\"key" + std::to_string(index) + "\":{\"enabled\":true,\"value\":\"v\\u00e9" +
                     std::to_string(index) + "\",\"weight\":" + std::to_string(index) + ".5}";
    }
    return R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"name":"no_such_tool","arguments":{)" +
           arguments + R"(},"_meta":{"progressToken":"p-1"}}})";
}

void handleLine(benchmark::State& state, const std::string& line) {
    const auto folder = std::filesystem::temp_directory_path() / "tessaline-message-bench";
    WorkspaceStore store(folder);
    MCPServer server(store);
    for (auto _ : state) benchmark::DoNotOptimize(server.handle(line));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * line.size()));
    std::filesystem::remove_all(folder);
}

void ping(benchmark::State& state) { handleLine(state, R"({"jsonrpc":"2.0","id":1,"method":"ping"})"); }
BENCHMARK(ping);

void cancellation(benchmark::State& state) {
    handleLine(state, R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":12,"reason":"x"}})");
}
BENCHMARK(cancellation);

void toolCall(benchmark::State& state) { handleLine(state, callWithArguments(static_cast<int>(state.range(0)))); }
BENCHMARK(toolCall)->Arg(10)->Arg(300);

}  // namespace

BENCHMARK_MAIN();
