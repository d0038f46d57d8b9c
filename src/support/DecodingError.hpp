#pragma once

#include "support/Error.hpp"

#include <string>

namespace tessaline {

// A persisted JSON document could not be read. The text names where reading stopped as a
// coding path (`collections[0].items[2].request._0.timeout`) followed by what was wrong;
// a document that is not JSON at all has an empty path.
class DecodingError : public Error {
public:
    enum class Kind { dataCorrupted, keyNotFound, valueNotFound, typeMismatch };

    DecodingError(Kind kind, std::string codingPath, std::string description);

    Kind kind() const { return kind_; }
    const std::string& codingPath() const { return codingPath_; }
    const std::string& description() const { return description_; }

private:
    Kind kind_;
    std::string codingPath_;
    std::string description_;
};

}  // namespace tessaline
