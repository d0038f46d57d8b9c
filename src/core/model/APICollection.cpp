#include "core/model/APICollection.hpp"

#include <algorithm>

namespace tessaline {

std::vector<KeyValue> APICollection::effectiveVariables() const {
    const bool userRowWins = std::any_of(variables.begin(), variables.end(), [](const KeyValue& row) {
        return row.enabled && row.key == "baseUrl";
    });
    if (baseURL.empty() || userRowWins) return variables;
    std::vector<KeyValue> rows;
    rows.reserve(variables.size() + 1);
    rows.push_back(KeyValue{.key = "baseUrl", .value = baseURL});
    rows.insert(rows.end(), variables.begin(), variables.end());
    return rows;
}

}  // namespace tessaline
