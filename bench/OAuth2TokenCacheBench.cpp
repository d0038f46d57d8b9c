// The token step of a send: a cache lookup that first checks whether the shared file moved,
// with the cache key computed from the configuration; and storing a token, which rewrites the
// file durably.
#include "core/oauth/OAuth2ResolvedConfig.hpp"
#include "core/oauth/OAuth2TokenCache.hpp"
#include "core/support/Uuid.hpp"

#include <benchmark/benchmark.h>

#include <filesystem>

namespace tessaline {
namespace {

namespace fs = std::filesystem;

OAuth2ResolvedConfig config(int index) {
    return {{.grant = OAuth2Grant::clientCredentials,
             .tokenURL = "https://auth.test/oauth/token",
             .clientID = "client-" + std::to_string(index),
             .clientSecret = "secret",
             .scope = "read write",
             .tokenParams = {{.key = "audience", .value = "https://api.test"}}}};
}

// A cache file of `count` entries in a fresh folder, removed at the end.
class CacheFolder {
public:
    explicit CacheFolder(int count) {
        OAuth2TokenCache cache(file);
        for (int i = 0; i < count; ++i) {
            const auto key = config(i).cacheKey();
            cache.set({.accessToken = "token-" + std::to_string(i), .refreshToken = "refresh"}, key, "label");
        }
    }
    ~CacheFolder() { fs::remove_all(folder); }

    const fs::path folder = fs::temp_directory_path() / ("tessaline-bench-" + Uuid::random().text());
    const fs::path file = folder / "oauth-tokens.json";
};

void cacheKey(benchmark::State& state) {
    const auto subject = config(7);
    for (auto _ : state) benchmark::DoNotOptimize(subject.cacheKey());
}
BENCHMARK(cacheKey);

void lookupUnchangedFile(benchmark::State& state) {
    const CacheFolder folder(static_cast<int>(state.range(0)));
    OAuth2TokenCache cache(folder.file);
    const auto subject = config(3);
    for (auto _ : state) benchmark::DoNotOptimize(cache.tokenForKey(subject.cacheKey()));
}
BENCHMARK(lookupUnchangedFile)->Arg(10)->Arg(1000);

// Another process's cache wrote the file before each lookup.
void lookupAfterOutsideWrite(benchmark::State& state) {
    const CacheFolder folder(static_cast<int>(state.range(0)));
    OAuth2TokenCache cache(folder.file);
    OAuth2TokenCache other(folder.file);
    const auto subject = config(3);
    for (auto _ : state) {
        state.PauseTiming();
        other.set({.accessToken = "new"}, "other", "label");
        state.ResumeTiming();
        benchmark::DoNotOptimize(cache.tokenForKey(subject.cacheKey()));
    }
}
BENCHMARK(lookupAfterOutsideWrite)->Arg(10)->Arg(1000);

void storeToken(benchmark::State& state) {
    const CacheFolder folder(static_cast<int>(state.range(0)));
    OAuth2TokenCache cache(folder.file);
    const auto key = config(3).cacheKey();
    for (auto _ : state) cache.set({.accessToken = "fresh"}, key, "label");
}
BENCHMARK(storeToken)->Arg(10)->Arg(1000);

}  // namespace
}  // namespace tessaline

BENCHMARK_MAIN();
