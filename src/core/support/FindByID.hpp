#pragma once

#include <algorithm>

namespace tessaline {

// The first record of `records` whose `id` equals `id`, as a pointer of the list's
// constness; null when there is none.
template <class Records, class ID>
auto findByID(Records& records, const ID& id) -> decltype(&*records.begin()) {
    const auto found = std::find_if(records.begin(), records.end(), [&id](const auto& record) { return record.id == id; });
    return found == records.end() ? nullptr : &*found;
}

}  // namespace tessaline
