// What a tool call costs on a large workspace (10,000 requests): the check for external
// changes before every input line when nothing changed, listing, finding a request by name
// (a 4 MB one too), and an edit with its save. Goals: under 20 µs per idle line; an edit with its save under
// 100 ms.
#include "LargeWorkspace.hpp"
#include "core/model/WorkspaceCoding.hpp"
#include "core/support/AtomicFile.hpp"
#include "server/mcp/MCPServer.hpp"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <thread>

namespace {

using namespace tessaline;

// One store and server on a temporary copy of the large workspace, shared by the cases.
struct Fixture {
    Fixture() {
        std::filesystem::create_directories(folder);
        atomicFile::write(folder / "workspace.json", encodeWorkspace(bench::largeWorkspace()));
        // Past the window in which a freshly read file counts as possibly rewritten.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        store.reloadIfChanged();
    }
    ~Fixture() { std::filesystem::remove_all(folder); }

    std::string call(const std::string& tool, const std::string& arguments) {
        return *server.handle(R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":")" + tool +
                              R"(","arguments":)" + arguments + "}}");
    }

    std::filesystem::path folder = std::filesystem::temp_directory_path() / ("tessaline-bench-" + Uuid::random().text());
    WorkspaceStore store{folder};
    MCPServer server{store};
};

Fixture& fixture() {
    static Fixture shared;
    return shared;
}

void idleReload(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) f.store.reloadIfChanged();
}
BENCHMARK(idleReload)->Unit(benchmark::kMicrosecond);

void listRequests(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) benchmark::DoNotOptimize(f.call("list_requests", "{}"));
}
BENCHMARK(listRequests)->Unit(benchmark::kMillisecond);

void getRequestByName(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) benchmark::DoNotOptimize(f.call("get_request", R"({"request":"Request 9999"})"));
}
BENCHMARK(getRequestByName)->Unit(benchmark::kMillisecond);

// A name of 4 MB that matches nothing: the argument is folded once, not once per request, so
// this costs about one pass over the name plus the walk above.
void getRequestByLongName(benchmark::State& state) {
    auto& f = fixture();
    const std::string arguments = R"({"request":")" + std::string(4 << 20, 'N') + R"("})";
    for (auto _ : state) benchmark::DoNotOptimize(f.call("get_request", arguments));
}
BENCHMARK(getRequestByLongName)->Unit(benchmark::kMillisecond);

void updateRequestWithSave(benchmark::State& state) {
    auto& f = fixture();
    int n = 0;
    for (auto _ : state) {
        f.call("update_request", R"({"request":"Request 5000","url":"/changed/)" + std::to_string(++n) + R"("})");
    }
}
BENCHMARK(updateRequestWithSave)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
