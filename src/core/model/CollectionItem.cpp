#include "core/model/CollectionItem.hpp"

#include "core/model/ItemTree.hpp"
#include "core/support/Overloaded.hpp"

namespace tessaline {

Folder::Folder() : Folder(Uuid::random(), {}) {}

Folder::Folder(Uuid newID, std::string newName) : Folder(newID, std::move(newName), {}) {}

Folder::Folder(Uuid newID, std::string newName, std::vector<CollectionItem> newItems)
    : id(newID), name(std::move(newName)), items(std::move(newItems)) {}

// Written out: Clang 14 crashes on an out-of-line defaulted comparison of this recursive type.
bool Folder::operator==(const Folder& other) const {
    return id == other.id && name == other.name && items == other.items;
}

const Uuid& CollectionItem::id() const {
    return std::visit(Overloaded{
                          [](const Folder& folder) -> const Uuid& { return folder.id; },
                          [](const APIRequest& request) -> const Uuid& { return request.id; },
                      },
                      payload);
}

const std::string& CollectionItem::name() const {
    return std::visit(Overloaded{
                          [](const Folder& folder) -> const std::string& { return folder.name; },
                          [](const APIRequest& request) -> const std::string& { return request.name; },
                      },
                      payload);
}

std::vector<Uuid> CollectionItem::nestedIDs() const {
    return std::visit(Overloaded{
                          [](const Folder& folder) { return itemTree::allIDs(folder.items); },
                          [](const APIRequest&) { return std::vector<Uuid>{}; },
                      },
                      payload);
}

}  // namespace tessaline
