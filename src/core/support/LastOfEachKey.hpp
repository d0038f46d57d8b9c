#pragma once

#include <algorithm>
#include <vector>

namespace tessaline {

// Orders `items` by `keyOf(item)` and hands `take` the last item of each key, in key order:
// what a sorted map would hold had the items been put into it in their given order, a later
// one replacing an earlier one of the same key. (The sort is stable, so the last stays last.)
template <typename Item, typename KeyOf, typename Take>
void forLastOfEachKey(std::vector<Item>& items, KeyOf keyOf, Take take) {
    const auto before = [&keyOf](const Item& one, const Item& other) { return keyOf(one) < keyOf(other); };
    // A few items are sorted by insertion, which is stable too: std::stable_sort takes a
    // buffer from the heap however few there are, and most objects and header lists are small.
    constexpr std::size_t fewItems = 16;
    if (items.size() > fewItems) {
        std::stable_sort(items.begin(), items.end(), before);
    } else {
        for (auto next = items.begin(); next != items.end(); ++next) {
            std::rotate(std::upper_bound(items.begin(), next, *next, before), next, next + 1);
        }
    }
    for (auto item = items.begin(); item != items.end(); ++item) {
        if (item + 1 == items.end() || keyOf(item[1]) != keyOf(*item)) take(*item);
    }
}

}  // namespace tessaline
