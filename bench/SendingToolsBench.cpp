// The response summary of a 50 MB body: counting its characters, cutting it at the default
// limit and writing the result. Goal: under 200 ms. And the summary of a small JSON answer,
// which every quick send writes, with the caches warm and cold.
#include "server/mcp/SendingTools.hpp"

#include <benchmark/benchmark.h>

namespace {

using namespace tessaline;

StoredResponse largeResponse(const std::string& unit, const std::string& contentType) {
    StoredResponse response;
    response.status = 200;
    response.headers = {KeyValue{.key = "Content-Type", .value = contentType}};
    while (response.body.size() < 50'000'000) response.body += unit;
    return response;
}

void describeLargeJSON(benchmark::State& state) {
    const auto response = largeResponse(R"({"id":12345,"name":"item","tags":["a","b"]},)", "application/json");
    for (auto _ : state) benchmark::DoNotOptimize(SendingTools::describe(response, SendingTools::defaultBodyLimit));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * response.body.size()));
}
BENCHMARK(describeLargeJSON)->Unit(benchmark::kMillisecond);

void describeLargeText(benchmark::State& state) {
    const auto response = largeResponse("Gr\xC3\xBC\xC3\x9F" "e aus K\xC3\xB6ln \xF0\x9F\x91\x8B\r\n", "text/plain");
    for (auto _ : state) benchmark::DoNotOptimize(SendingTools::describe(response, SendingTools::defaultBodyLimit));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * response.body.size()));
}
BENCHMARK(describeLargeText)->Unit(benchmark::kMillisecond);

// A small JSON answer of a local server, as every quick send summarises one.
StoredResponse smallJSONResponse() {
    return {.url = "http://127.0.0.1:36367/items/1",
            .status = 200,
            .headers = {KeyValue{.key = "Connection", .value = "keep-alive"}, KeyValue{.key = "Content-Length", .value = "27"},
                        KeyValue{.key = "Date", .value = "Thu, 26 Nov 2026 03:28:52 GMT"},
                        KeyValue{.key = "Keep-Alive", .value = "timeout=5"}},
            .body = R"({"ok":true,"items":[1,2,3]})"};
}

void describeSmallJSON(benchmark::State& state) {
    const auto response = smallJSONResponse();
    for (auto _ : state) benchmark::DoNotOptimize(SendingTools::describe(response, SendingTools::defaultBodyLimit));
}
BENCHMARK(describeSmallJSON);

// The same with the caches emptied before each summary, as they are after the host's turn
// when host and server share a CPU: this, not the figure above, is what a send pays.
void describeSmallJSONCold(benchmark::State& state) {
    const auto response = smallJSONResponse();
    static std::vector<char> sweep(8 << 20);
    for (auto _ : state) {
        state.PauseTiming();
        for (std::size_t i = 0; i < sweep.size(); i += 64) sweep[i]++;
        state.ResumeTiming();
        benchmark::DoNotOptimize(SendingTools::describe(response, SendingTools::defaultBodyLimit));
    }
}
BENCHMARK(describeSmallJSONCold)->Iterations(3000);

}  // namespace

BENCHMARK_MAIN();
