#include "core/model/ItemTree.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

// top:  A, [Outer: B, [Inner: Twin], C], Twin, D
struct Tree {
    APIRequest a{.name = "A"}, b{.name = "B"}, twinInside{.name = "Twin"}, c{.name = "C"}, twinTop{.name = "Twin"},
        d{.name = "D"};
    Folder inner{Uuid::random(), "Inner", {twinInside}};
    Folder outer{Uuid::random(), "Outer", {b, inner, c}};
    std::vector<CollectionItem> items{a, outer, twinTop, d};
};

std::vector<std::string> names(const std::vector<CollectionItem>& items) {
    std::vector<std::string> result;
    for (const auto& request : itemTree::allRequests(items)) result.push_back(request.name);
    return result;
}

// Walks are depth first in pre-order; lookups tell requests from folders.
TEST(ItemTreeTest, WalksAndLookups) {
    const Tree tree;
    EXPECT_EQ((std::vector<std::string>{"A", "B", "Twin", "C", "Twin", "D"}), names(tree.items));
    EXPECT_EQ((std::vector<Uuid>{tree.a.id, tree.outer.id, tree.b.id, tree.inner.id, tree.twinInside.id, tree.c.id,
                                 tree.twinTop.id, tree.d.id}),
              itemTree::allIDs(tree.items));
    EXPECT_EQ((std::vector<Uuid>{tree.b.id, tree.inner.id, tree.twinInside.id, tree.c.id}),
              CollectionItem(tree.outer).nestedIDs());
    EXPECT_EQ(tree.twinInside, itemTree::firstRequestNamed(tree.items, "Twin"));  // met first, inside a folder
    EXPECT_FALSE(itemTree::firstRequestNamed(tree.items, "twin"));
    EXPECT_FALSE(itemTree::firstRequestNamed(tree.items, "Outer"));
    EXPECT_EQ(tree.c, itemTree::firstRequest(tree.items, tree.c.id));
    EXPECT_FALSE(itemTree::firstRequest(tree.items, tree.inner.id));
    EXPECT_EQ(tree.inner, itemTree::firstFolder(tree.items, tree.inner.id));
    EXPECT_FALSE(itemTree::firstFolder(tree.items, tree.c.id));
    EXPECT_FALSE(itemTree::containsRequest(tree.items, tree.outer.id));
    EXPECT_EQ((std::vector<Folder>{tree.outer, tree.inner}), itemTree::folderPathTo(tree.items, tree.twinInside.id));
    EXPECT_EQ(std::vector<Folder>{}, itemTree::folderPathTo(tree.items, tree.d.id));
    EXPECT_FALSE(itemTree::folderPathTo(tree.items, Uuid::random()));
}

TEST(ItemTreeTest, EditsReachAnyDepthAndSayWhetherTheyFoundTheirTarget) {
    Tree tree;
    auto changed = tree.twinInside;
    changed.url = "/changed";
    EXPECT_TRUE(itemTree::replaceRequest(tree.items, changed));
    EXPECT_EQ(changed, itemTree::firstRequest(tree.items, changed.id));
    EXPECT_FALSE(itemTree::replaceRequest(tree.items, APIRequest{}));
    EXPECT_TRUE(itemTree::renameFolder(tree.items, tree.inner.id, "Renamed"));
    EXPECT_EQ("Renamed", itemTree::firstFolder(tree.items, tree.inner.id)->name);
    EXPECT_FALSE(itemTree::renameFolder(tree.items, tree.a.id, "Not a folder"));

    EXPECT_TRUE(itemTree::remove(tree.items, tree.inner.id));  // with what it holds
    EXPECT_EQ((std::vector<std::string>{"A", "B", "C", "Twin", "D"}), names(tree.items));
    EXPECT_FALSE(itemTree::remove(tree.items, tree.inner.id));
    itemTree::removeAll(tree.items, {tree.a.id, tree.c.id, tree.d.id, Uuid::random()});
    EXPECT_EQ((std::vector<std::string>{"B", "Twin"}), names(tree.items));
}

TEST(ItemTreeTest, InsertIntoAFolderOrTheTopLevel) {
    Tree tree;
    const APIRequest first{.name = "First"}, last{.name = "Last"}, past{.name = "Past"}, top{.name = "Top"};
    EXPECT_TRUE(itemTree::insertIntoFolder(tree.items, first, tree.outer.id, 0));
    EXPECT_TRUE(itemTree::insertIntoFolder(tree.items, last, tree.outer.id));
    EXPECT_TRUE(itemTree::insertIntoFolder(tree.items, past, tree.outer.id, 99));  // past the end appends
    EXPECT_TRUE(itemTree::insertIntoFolder(tree.items, top, std::nullopt, 1));
    EXPECT_FALSE(itemTree::insertIntoFolder(tree.items, APIRequest{}, tree.a.id));  // a request is no folder
    EXPECT_EQ((std::vector<std::string>{"A", "Top", "First", "B", "Twin", "C", "Last", "Past", "Twin", "D"}),
              names(tree.items));
}

}  // namespace
}  // namespace tessaline
