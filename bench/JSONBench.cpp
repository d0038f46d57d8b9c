// Throughput of the JSON parser, the strict validator, the strict document reader and the
// formatter, beside nlohmann::json::parse on the same bytes, over the usual corpus and a workspace-sized document.
#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/support/JSONDocument.hpp"
#include "desktop/json/JSONFormat.hpp"
#include "desktop/json/JSONParser.hpp"

namespace {

using tessaline::JSONDocument;
using tessaline::JSONFormat;
namespace jsonParser = tessaline::jsonParser;

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

std::string uuid(size_t n) {
    char text[37];
    std::snprintf(text, sizeof text, "%08zX-4B1C-4D2E-9F3A-%012zX", n * 2654435761u % 0xFFFFFFFF, n);
    return text;
}

nlohmann::json keyValue(size_t n, const std::string& key, const std::string& value) {
    return {{"id", uuid(n)}, {"key", key}, {"value", value}, {"enabled", n % 5 != 0}};
}

nlohmann::json request(size_t n) {
    static const char* methods[] = {"GET", "POST", "PUT", "PATCH", "DELETE"};
    nlohmann::json headers = nlohmann::json::array();
    headers.push_back(keyValue(n * 8 + 1, "Accept", "application/json"));
    headers.push_back(keyValue(n * 8 + 2, "Authorization", "Bearer {{token}}"));
    headers.push_back(keyValue(n * 8 + 3, "X-Request-Id", "{{$uuid}}"));
    nlohmann::json query = nlohmann::json::array();
    query.push_back(keyValue(n * 8 + 4, "page", std::to_string(n % 17)));
    query.push_back(keyValue(n * 8 + 5, "filter", "name eq \"caf\u00e9 #" + std::to_string(n) + "\""));
    return {
        {"id", uuid(n * 8)},
        {"name", "Request " + std::to_string(n) + " \u2013 fetch items"},
        {"method", methods[n % 5]},
        {"url", "{{baseUrl}}/v2/items/" + std::to_string(n) + "/details?expand=owner"},
        {"headers", headers},
        {"query", query},
        {"body", {{"kind", "json"}, {"text", "{\n  \"id\": " + std::to_string(n) + ",\n  \"tags\": [\"a\", \"b\"]\n}"}}},
        {"auth", {{"kind", "inherit"}}},
        {"timeout", 30.0 + static_cast<double>(n % 7) / 4},
        {"notes", n % 3 == 0 ? "Line one\nLine two\twith a tab" : ""},
    };
}

// 20 collections of 10 folders of 50 requests: 10,000 requests, pretty-printed with sorted
// keys as the workspace file is written.
std::string workspaceDocument() {
    nlohmann::json collections = nlohmann::json::array();
    size_t next = 0;
    for (size_t c = 0; c < 20; ++c) {
        nlohmann::json folders = nlohmann::json::array();
        for (size_t f = 0; f < 10; ++f) {
            nlohmann::json requests = nlohmann::json::array();
            for (size_t r = 0; r < 50; ++r) requests.push_back({{"request", request(next++)}});
            folders.push_back({{"folder", {{"id", uuid(1000000 + c * 10 + f)},
                                           {"name", "Folder " + std::to_string(f)},
                                           {"items", requests}}}});
        }
        collections.push_back({{"id", uuid(2000000 + c)},
                               {"name", "Collection " + std::to_string(c)},
                               {"baseURL", "https://api.example.test"},
                               {"variables", nlohmann::json::array({keyValue(3000000 + c, "token", "abc")})},
                               {"items", folders}});
    }
    return nlohmann::json{{"version", 1}, {"collections", collections}, {"environments", nlohmann::json::array()}}
        .dump(2);
}

template <class Operation>
void measure(benchmark::State& state, const std::string& bytes, Operation operation) {
    for (auto _ : state) benchmark::DoNotOptimize(operation(bytes));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

void registerAll(const std::string& name, const std::string& bytes) {
    const auto add = [&](const std::string& label, auto operation) {
        benchmark::RegisterBenchmark((label + "/" + name).c_str(), [bytes, operation](benchmark::State& state) {
            measure(state, bytes, operation);
        })->Unit(benchmark::kMillisecond);
    };
    add("jsonParser::parse", [](const std::string& b) { return jsonParser::parse(b); });
    add("nlohmann::json::parse", [](const std::string& b) { return nlohmann::json::parse(b); });
    add("JSONDocument::parse", [](const std::string& b) { return JSONDocument::parse(b); });
    add("JSONFormat::isValid", [](const std::string& b) { return JSONFormat::isValid(b); });
    add("JSONFormat::prettyPrinted", [](const std::string& b) { return JSONFormat::prettyPrinted(b, "  "); });
    add("JSONFormat::minified", [](const std::string& b) { return JSONFormat::minified(b); });
}

}  // namespace

int main(int argc, char** argv) {
    const std::string corpus = TESSALINE_TEST_DATA "/json-bench/";
    for (const char* name : {"canada", "citm_catalog", "twitter"}) registerAll(name, readFile(corpus + name + ".json"));
    registerAll("workspace", workspaceDocument());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
