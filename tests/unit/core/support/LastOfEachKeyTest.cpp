#include "core/support/LastOfEachKey.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace tessaline {
namespace {

using Item = std::pair<std::string, int>;  // a key and the item's place in the input

std::vector<Item> lastOfEachKey(std::vector<Item> items) {
    std::vector<Item> taken;
    forLastOfEachKey(items, [](const Item& item) -> const std::string& { return item.first; },
                     [&taken](const Item& item) { taken.push_back(item); });
    return taken;
}

// Few items and many are sorted by different means; both must keep the last of a repeated key.
TEST(LastOfEachKeyTest, TakesTheLastItemOfEachKeyInKeyOrder) {
    EXPECT_EQ(lastOfEachKey({{"b", 0}, {"a", 1}, {"b", 2}, {"c", 3}, {"a", 4}, {"b", 5}}),
              (std::vector<Item>{{"a", 4}, {"b", 5}, {"c", 3}}));

    std::vector<Item> many;
    for (int place = 0; place < 40; ++place) many.emplace_back(std::string(1, static_cast<char>('z' - place % 7)), place);
    std::vector<Item> expected;
    for (int place = 33; place < 40; ++place) expected.emplace_back(std::string(1, static_cast<char>('z' - place % 7)), place);
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(lastOfEachKey(many), expected);
}

TEST(LastOfEachKeyTest, TakesNothingFromNothing) { EXPECT_TRUE(lastOfEachKey({}).empty()); }

}  // namespace
}  // namespace tessaline
