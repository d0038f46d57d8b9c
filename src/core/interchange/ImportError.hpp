#pragma once

#include "core/support/CurlyQuoted.hpp"
#include "core/support/Error.hpp"

#include <string>
#include <string_view>

namespace tessaline {

// A text handed to an importer (a curl command line, a Postman or OpenAPI document) that it
// cannot read. Each factory writes one message, which names what was expected.
class ImportError : public Error {
public:
    using Error::Error;

    static ImportError notCurl() { return ImportError("Not a curl command: it must start with curl."); }
    static ImportError unclosedQuote() { return ImportError("The curl command has a quote that is never closed."); }
    static ImportError missingValue(std::string_view option) {
        return ImportError("The curl option " + std::string(option) + " needs a value.");
    }
    static ImportError noURL() { return ImportError("The curl command has no URL."); }
    static ImportError unsupportedMethod(std::string_view method) {
        return ImportError("Unsupported HTTP method " + curlyQuoted(method) +
                           ": use GET, POST, PUT, PATCH, DELETE, HEAD or OPTIONS.");
    }
    static ImportError notJSON(std::string_view what) {
        return ImportError("Not " + std::string(what) + ": the text is not JSON.");
    }
    static ImportError notPostman() {
        return ImportError("Not a Postman collection: expected a v2.0 or v2.1 collection (with info.schema) or an "
                           "environment (with values).");
    }
    static ImportError notOpenAPI() {
        return ImportError("Not an OpenAPI document: expected an \"openapi\" 3.x or \"swagger\" 2.0 version field.");
    }
};

}  // namespace tessaline
