// How long the version views take: listing the archive, a save that finds nothing new, the
// diff of the sample workspace against an edited copy, and one request's revisions.
#include "core/model/ItemTree.hpp"
#include "core/model/WorkspaceCoding.hpp"
#include "core/storage/SampleWorkspace.hpp"
#include "core/storage/VersionArchive.hpp"
#include "desktop/editing/RequestRevision.hpp"
#include "desktop/editing/WorkspaceDiff.hpp"

#include <benchmark/benchmark.h>

#include <filesystem>

namespace {

using namespace tessaline;

// An archive of `count` snapshots of the sample workspace, each with one request renamed.
class SampleArchive {
public:
    explicit SampleArchive(std::size_t count)
        : folder(std::filesystem::temp_directory_path() / ("tessaline-bench-" + std::to_string(count))),
          snapshots(folder) {
        std::filesystem::remove_all(folder);
        auto request = itemTree::allRequests(workspace.collections[0].items).front();
        renamedID = request.id;
        const auto start = std::chrono::system_clock::now() - std::chrono::hours(24 * 90);
        for (std::size_t index = 0; index < count; ++index) {
            request.name = "Login " + std::to_string(index % 10);
            itemTree::replaceRequest(workspace.collections[0].items, request);
            newestBytes = encodeWorkspace(workspace);
            snapshots.save(newestBytes, "Edited “Login”", start + std::chrono::hours(index));
        }
    }
    ~SampleArchive() { std::filesystem::remove_all(folder); }

    const VersionArchive& archive() const { return snapshots; }
    const std::string& lastBytes() const { return newestBytes; }
    const Uuid& requestID() const { return renamedID; }

private:
    std::filesystem::path folder;
    VersionArchive snapshots;
    Workspace workspace = sampleWorkspace::starterWorkspace();
    std::string newestBytes;
    Uuid renamedID;
};

void listVersions(benchmark::State& state) {
    const SampleArchive sample(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(sample.archive().list());
}
BENCHMARK(listVersions)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

void saveUnchanged(benchmark::State& state) {
    const SampleArchive sample(100);
    for (auto _ : state) benchmark::DoNotOptimize(sample.archive().save(sample.lastBytes(), "Autosave", {}));
}
BENCHMARK(saveUnchanged)->Unit(benchmark::kMicrosecond);

void diffSample(benchmark::State& state) {
    const auto older = sampleWorkspace::starterWorkspace();
    auto newer = older;
    auto request = itemTree::allRequests(newer.collections[0].items).back();
    request.url += "?changed";
    itemTree::replaceRequest(newer.collections[0].items, request);
    for (auto _ : state) benchmark::DoNotOptimize(workspaceDiff::changes(older, newer));
}
BENCHMARK(diffSample)->Unit(benchmark::kMicrosecond);

void revisionsOfOneRequest(benchmark::State& state) {
    const SampleArchive sample(100);
    for (auto _ : state) benchmark::DoNotOptimize(requestRevisions(sample.archive(), sample.requestID()));
}
BENCHMARK(revisionsOfOneRequest)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
