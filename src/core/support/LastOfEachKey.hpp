#pragma once

#include "core/support/StableSort.hpp"

#include <vector>

namespace tessaline {

// Orders `items` by `keyOf(item)` and hands `take` the last item of each key, in key order:
// what a sorted map would hold had the items been put into it in their given order, a later
// one replacing an earlier one of the same key. (The sort is stable, so the last stays last.)
template <typename Item, typename KeyOf, typename Take>
void forLastOfEachKey(std::vector<Item>& items, KeyOf keyOf, Take take) {
    stableSort(items.begin(), items.end(), [&keyOf](const Item& one, const Item& other) { return keyOf(one) < keyOf(other); });
    for (auto item = items.begin(); item != items.end(); ++item) {
        if (item + 1 == items.end() || keyOf(item[1]) != keyOf(*item)) take(*item);
    }
}

}  // namespace tessaline
