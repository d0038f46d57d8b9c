#include "desktop/editing/RequestRevision.hpp"

#include "core/model/ItemTree.hpp"
#include "core/support/Error.hpp"

namespace tessaline {
namespace {

std::optional<APIRequest> requestIn(const Workspace& workspace, const Uuid& requestID) {
    for (const auto& collection : workspace.collections) {
        if (auto request = itemTree::firstRequest(collection.items, requestID)) return request;
    }
    return std::nullopt;
}

}  // namespace

std::vector<RequestRevision> requestRevisions(const VersionArchive& archive, const Uuid& requestID) {
    auto versions = archive.list();
    if (versions.size() > VersionArchive::recentLimit) versions.resize(VersionArchive::recentLimit);
    std::vector<RequestRevision> revisions;
    for (auto& version : versions) {
        std::optional<APIRequest> request;
        try {
            request = requestIn(archive.load(version), requestID);
        } catch (const Error&) {
            continue;  // a snapshot that cannot be read offers no revision; the others still do
        }
        if (!request || (!revisions.empty() && revisions.back().request == *request)) continue;
        revisions.push_back({std::move(version), std::move(*request)});
    }
    return revisions;
}

}  // namespace tessaline
