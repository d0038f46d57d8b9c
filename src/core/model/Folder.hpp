#pragma once

#include "core/support/Uuid.hpp"

#include <string>
#include <vector>

namespace tessaline {

class CollectionItem;

// A folder of a collection's tree; folders nest to any depth. Its items are complete only
// where core/model/CollectionItem.hpp is included, which every user of a folder's contents does.
//
// Unlike the other records it has constructors instead of member initialisers: the items'
// type is still incomplete here, and an initialiser or default argument would need it whole.
struct Folder {
    Folder();  // a fresh id, no name, no items
    Folder(Uuid newID, std::string newName);
    Folder(Uuid newID, std::string newName, std::vector<CollectionItem> newItems);

    Uuid id;
    std::string name;
    std::vector<CollectionItem> items;

    bool operator==(const Folder&) const;
};

}  // namespace tessaline
