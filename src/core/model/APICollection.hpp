#pragma once

#include "core/model/Auth.hpp"
#include "core/model/CollectionItem.hpp"
#include "core/model/KeyValue.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

struct APICollection {
    static constexpr std::string_view defaultIcon = "square.stack.3d.up.fill";
    static constexpr std::string_view defaultColor = "indigo";

    Uuid id = Uuid::random();
    std::string name{};
    std::vector<CollectionItem> items{};  // the top level of the tree
    std::vector<KeyValue> variables{};
    Auth auth{};  // the default that requests of kind `inherit` use
    std::string notes{};
    std::string baseURL{};  // prefixed to relative request URLs; offered to variables as `baseUrl`
    std::string icon{defaultIcon};  // the name of a symbol image
    std::string color{defaultColor};  // the name of a colour

    // The variable rows offered to variable resolution: `variables`, preceded by a fresh
    // enabled "baseUrl" row holding `baseURL` when that is set and no enabled row of the
    // user's own is named exactly "baseUrl".
    std::vector<KeyValue> effectiveVariables() const;

    bool operator==(const APICollection&) const = default;
};

}  // namespace tessaline
