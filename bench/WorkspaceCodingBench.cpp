// Encoding and decoding of a large workspace: 10,000 requests in 500 folders of one
// collection, each request with a query row, two headers and a JSON body. Goal: each
// direction under 100 ms.
#include "LargeWorkspace.hpp"
#include "core/model/WorkspaceCoding.hpp"
#include "core/support/JSONDocument.hpp"

#include <benchmark/benchmark.h>

namespace {

using namespace tessaline;
using bench::largeWorkspace;

void encodeLargeWorkspace(benchmark::State& state) {
    const auto workspace = largeWorkspace();
    std::size_t size = 0;
    for (auto _ : state) {
        const auto bytes = encodeWorkspace(workspace);
        size = bytes.size();
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
    state.counters["MB"] = static_cast<double>(size) / 1e6;
}
BENCHMARK(encodeLargeWorkspace)->Unit(benchmark::kMillisecond);

void decodeLargeWorkspace(benchmark::State& state) {
    const auto bytes = encodeWorkspace(largeWorkspace());
    for (auto _ : state) {
        auto workspace = decodeWorkspace(bytes);
        benchmark::DoNotOptimize(workspace);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
    state.counters["MB"] = static_cast<double>(bytes.size()) / 1e6;
}
BENCHMARK(decodeLargeWorkspace)->Unit(benchmark::kMillisecond);

// The first half of decoding: the bytes read into a JSON document, before any record is built.
void parseLargeWorkspace(benchmark::State& state) {
    const auto bytes = encodeWorkspace(largeWorkspace());
    for (auto _ : state) benchmark::DoNotOptimize(JSONDocument::parse(bytes));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(parseLargeWorkspace)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
