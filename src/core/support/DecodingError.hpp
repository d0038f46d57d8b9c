#pragma once

#include "core/support/Error.hpp"

#include <string>

namespace tessaline {

// A persisted JSON document could not be read. The text names the path to the value where
// reading stopped (`collections[0].items[2].request._0.timeout`) followed by what was wrong;
// a document that is not JSON at all has an empty path.
class DecodingError : public Error {
public:
    // malformed: not JSON, or a value outside what its field allows; missingKey: a required
    // member is absent; nullValue: a required value is null; wrongType: a value of another type.
    enum class Kind { malformed, missingKey, nullValue, wrongType };

    DecodingError(Kind kind, std::string path, std::string description);

    Kind kind() const { return errorKind; }
    const std::string& path() const { return keyPath; }
    const std::string& description() const { return detail; }

private:
    Kind errorKind;
    std::string keyPath;
    std::string detail;
};

}  // namespace tessaline
