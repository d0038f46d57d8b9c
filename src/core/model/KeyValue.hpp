#pragma once

#include "core/support/Uuid.hpp"

#include <string>

namespace tessaline {

// One row of a key/value table: query parameters, headers, form fields, variables and
// OAuth 2 extra parameters. Disabled rows are kept but ignored when a request is built or
// variables are resolved.
//
// Like every model record, each member has an initialiser, so that a designated initialiser
// may name only the fields it cares about.
struct KeyValue {
    Uuid id = Uuid::random();
    std::string key{};
    std::string value{};
    bool enabled = true;

    // Both key and value empty, whatever the enabled flag says.
    bool isBlank() const { return key.empty() && value.empty(); }

    bool operator==(const KeyValue&) const = default;
};

}  // namespace tessaline
