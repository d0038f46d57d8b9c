#pragma once

#include "core/model/KeyValue.hpp"

#include <string>
#include <vector>

namespace tessaline {

struct APIEnvironment {
    Uuid id = Uuid::random();
    std::string name{};
    std::vector<KeyValue> variables{};

    bool operator==(const APIEnvironment&) const = default;
};

}  // namespace tessaline
