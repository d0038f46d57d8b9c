#pragma once

#include "core/model/APIRequest.hpp"
#include "core/storage/VersionArchive.hpp"
#include "core/storage/WorkspaceVersion.hpp"

#include <vector>

namespace tessaline {

// One saved state of a request, as a snapshot of the version archive holds it.
struct RequestRevision {
    WorkspaceVersion version;
    APIRequest request;

    bool operator==(const RequestRevision&) const = default;
};

// The distinct states of the request with that id in the archive's most recent snapshots
// (at most VersionArchive::recentLimit), newest first. Consecutive snapshots holding the
// same state give one revision, dated by the newest of them; snapshots without the request
// and snapshots that do not load are passed over.
std::vector<RequestRevision> requestRevisions(const VersionArchive& archive, const Uuid& requestID);

}  // namespace tessaline
