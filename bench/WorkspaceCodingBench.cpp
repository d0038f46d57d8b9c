// Encoding and decoding of a large workspace: 10,000 requests in 500 folders of one
// collection, each request with a query row, two headers and a JSON body. Goal: each
// direction under 100 ms.
#include "model/WorkspaceCoding.hpp"

#include <benchmark/benchmark.h>

namespace {

using namespace tessaline;

Workspace largeWorkspace() {
    APICollection collection{.name = "Large", .baseURL = "https://api.example.test/v1"};
    for (int f = 0; f < 500; ++f) {
        Folder folder(Uuid::random(), "Folder " + std::to_string(f));
        for (int r = 0; r < 20; ++r) {
            const auto number = std::to_string(f * 20 + r);
            folder.items.push_back(APIRequest{
                .name = "Request " + number,
                .method = r % 2 == 0 ? HTTPMethod::get : HTTPMethod::post,
                .url = "{{baseUrl}}/resources/" + number,
                .query = {KeyValue{.key = "page", .value = "1"}},
                .headers = {KeyValue{.key = "Accept", .value = "application/json"},
                            KeyValue{.key = "Authorization", .value = "Bearer {{token}}", .enabled = false}},
                .body = {.kind = BodyKind::json, .raw = "{\"id\": " + number + ", \"name\": \"item\"}"},
                .auth = {.kind = AuthKind::inherit},
                .timeout = 30,
            });
        }
        collection.items.push_back(std::move(folder));
    }
    return {.collections = {std::move(collection)}};
}

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

}  // namespace

BENCHMARK_MAIN();
