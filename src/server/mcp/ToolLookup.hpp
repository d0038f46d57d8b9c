#pragma once

#include "core/model/APICollection.hpp"
#include "core/model/APIEnvironment.hpp"
#include "core/model/APIRequest.hpp"
#include "core/storage/WorkspaceStore.hpp"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace tessaline {

// Turns an agent's "request", "collection" and "environment" arguments into workspace
// records. Every failure is a ToolError with a message that tells the agent what to
// do next. An ambiguous name never picks one of its matches.
class ToolLookup {
public:
    explicit ToolLookup(WorkspaceStore& workspaceStore) : store(workspaceStore) {}

    // By id, then by whole name ignoring case, then by a unique part of a name.
    APIRequest findRequest(const std::optional<std::string>& text) const;
    // By id, then by the first name equal ignoring case.
    std::optional<APICollection> collectionMatching(const std::string& text) const;
    // collectionMatching, or a ToolError that points to list_collections.
    APICollection findCollection(const std::string& text) const;
    // By name ignoring case.
    APIEnvironment findEnvironment(const std::string& name) const;

    // The top-level folder of that name ignoring case.
    static std::optional<Uuid> folderIDNamed(const std::string& name, const std::vector<CollectionItem>& items);
    // Whether a variable's name suggests a secret value that listings mask.
    static bool looksSecret(const std::string& name);
    // Sets the value of the first row with that key, or appends a new enabled row.
    static void upsert(std::vector<KeyValue>& rows, const std::string& key, const std::string& value);

private:
    WorkspaceStore& store;
};

}  // namespace tessaline
