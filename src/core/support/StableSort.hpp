#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace tessaline {

// std::stable_sort, except that a few items are sorted by insertion, which is stable too:
// std::stable_sort takes a buffer from the heap however few items there are, and most
// objects and header lists are small.
template <typename Iterator, typename Before>
void stableSort(Iterator first, Iterator last, Before before) {
    constexpr std::ptrdiff_t fewItems = 16;
    if (std::distance(first, last) > fewItems) return std::stable_sort(first, last, before);
    for (auto next = first; next != last; ++next) {
        std::rotate(std::upper_bound(first, next, *next, before), next, std::next(next));
    }
}

}  // namespace tessaline
