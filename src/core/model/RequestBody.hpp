#pragma once

#include "core/model/BodyKind.hpp"
#include "core/model/KeyValue.hpp"

#include <string>
#include <vector>

namespace tessaline {

// Both `raw` (json, text, xml) and `form` (formURLEncoded, multipart) are kept whatever the
// kind, so that switching kinds back and forth loses nothing.
struct RequestBody {
    BodyKind kind = BodyKind::none;
    std::string raw{};
    std::vector<KeyValue> form{};

    bool operator==(const RequestBody&) const = default;
};

}  // namespace tessaline
