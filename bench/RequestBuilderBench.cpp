// Building a request ready to send: a typical saved request (base URL, variables in URL,
// headers and query, bearer auth, JSON body), and form bodies of many fields.
#include "core/http/RequestBuilder.hpp"

#include <benchmark/benchmark.h>

namespace tessaline {
namespace {

KeyValue row(std::string key, std::string value) { return {.key = std::move(key), .value = std::move(value)}; }

const APICollection collection{.name = "API", .baseURL = "https://api.test/v1/"};

VariableResolver resolver() {
    std::vector<KeyValue> environment;
    for (int i = 0; i < 50; ++i) environment.push_back(row("var" + std::to_string(i), "value " + std::to_string(i)));
    environment.push_back(row("token", "eyJhbGciOiJIUzI1NiJ9.e30.signature"));
    return {.scopes = {environment, collection.effectiveVariables()}};
}

void buildTypicalRequest(benchmark::State& state) {
    const APIRequest request{
        .method = HTTPMethod::post,
        .url = "/users/{{var7}}/orders",
        .query = {row("page", "{{var1}}"), row("filter", "status=open&sort=-date")},
        .headers = {row("Accept", "application/json"), row("X-Trace", "{{var42}}"), row("X-Client", "bench")},
        .body = {.kind = BodyKind::json, .raw = R"({"name":"{{var3}}","items":[1,2,3],"note":"{{var9}}"})"},
        .auth = {.kind = AuthKind::bearer, .token = "{{token}}"},
    };
    const auto variables = resolver();
    for (auto _ : state) benchmark::DoNotOptimize(requestBuilder::resolve(request, collection, variables));
}
BENCHMARK(buildTypicalRequest);

void buildFormBody(benchmark::State& state) {
    APIRequest request{.method = HTTPMethod::post, .url = "/form", .body = {.kind = BodyKind::formURLEncoded}};
    for (int i = 0; i < state.range(0); ++i) request.body.form.push_back(row("field " + std::to_string(i), "{{var5}} & more"));
    const auto variables = resolver();
    for (auto _ : state) benchmark::DoNotOptimize(requestBuilder::resolve(request, collection, variables));
}
BENCHMARK(buildFormBody)->Arg(10)->Arg(1000);

}  // namespace
}  // namespace tessaline

BENCHMARK_MAIN();
