// Resolving the texts of one request: plain variables, a chained body value and a generated
// value, and the chain analyzer over a collection of a hundred requests.
#include "core/variables/VariableResolver.hpp"
#include "desktop/editing/ChainAnalyzer.hpp"

#include <benchmark/benchmark.h>

namespace tessaline {
namespace {

std::string itemsBody(int count) {
    std::string body = R"({"items":[)";
    for (int i = 0; i < count; ++i) {
        if (i > 0) body += ',';
        body += R"({"id":)" + std::to_string(i) + R"(,"name":"n"})";
    }
    return body + "]}";
}

VariableResolver resolver(const StoredResponse& response) {
    std::vector<KeyValue> environment;
    for (int i = 0; i < 50; ++i) environment.push_back({.key = "var" + std::to_string(i), .value = "value"});
    environment.push_back({.key = "host", .value = "{{baseUrl}}"});
    return {.scopes = {environment, {{.key = "baseUrl", .value = "https://api.test"}}},
            .responseLookup = [&response](const std::string&) { return std::optional(response); }};
}

void resolvePlainVariables(benchmark::State& state) {
    const StoredResponse response;
    const auto subject = resolver(response);
    for (auto _ : state) benchmark::DoNotOptimize(subject.resolve("{{host}}/users/{{var7}}?q={{ var42 }}&x={{missing}}"));
}
BENCHMARK(resolvePlainVariables);

void resolveChainedBodyValue(benchmark::State& state) {
    const StoredResponse response{.status = 200, .body = itemsBody(static_cast<int>(state.range(0)))};
    const auto subject = resolver(response);
    for (auto _ : state) benchmark::DoNotOptimize(subject.resolve("Bearer {{@Login.body.items.3.id}}"));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(response.body.size()));
}
BENCHMARK(resolveChainedBodyValue)->Arg(10)->Arg(1000);

void resolveGeneratedValues(benchmark::State& state) {
    const StoredResponse response;
    const auto subject = resolver(response);
    for (auto _ : state) benchmark::DoNotOptimize(subject.resolve("{{$uuid}} {{$randomInt(1, 6)}} {{$date(HH:mm)}}"));
}
BENCHMARK(resolveGeneratedValues);

void sendOrderOfALongChain(benchmark::State& state) {
    // Request i reads request i + 1; the root is request 0.
    APICollection collection;
    const int count = 100;
    for (int i = 0; i < count; ++i) {
        collection.items.push_back(APIRequest{.name = "R" + std::to_string(i),
                                              .url = "{{@R" + std::to_string(i + 1) + ".body.token}}"});
    }
    const APIRequest root = *collection.items.front().request();
    for (auto _ : state) benchmark::DoNotOptimize(chainAnalyzer::sendOrder(root, collection));
}
BENCHMARK(sendOrderOfALongChain);

}  // namespace
}  // namespace tessaline

BENCHMARK_MAIN();
