#pragma once

#include "core/model/APIRequest.hpp"
#include "core/model/Folder.hpp"

#include <variant>

namespace tessaline {

// One entry of a collection's tree: a folder or a saved request.
class CollectionItem {
public:
    using Payload = std::variant<Folder, APIRequest>;

    // Implicit, so that a folder or a request stands wherever an item is expected.
    CollectionItem(Folder folder) : payload(std::move(folder)) {}
    CollectionItem(APIRequest request) : payload(std::move(request)) {}

    const Uuid& id() const;
    const std::string& name() const;
    // For a folder, the ids of everything inside it at any depth, without the folder's own;
    // for a request, nothing.
    std::vector<Uuid> nestedIDs() const;

    const Folder* folder() const { return std::get_if<Folder>(&payload); }
    Folder* folder() { return std::get_if<Folder>(&payload); }
    const APIRequest* request() const { return std::get_if<APIRequest>(&payload); }
    APIRequest* request() { return std::get_if<APIRequest>(&payload); }

    bool operator==(const CollectionItem&) const = default;

    Payload payload;
};

}  // namespace tessaline
