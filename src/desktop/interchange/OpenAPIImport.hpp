#pragma once

#include "core/model/APICollection.hpp"

#include <string_view>

namespace tessaline {

// Reads an OpenAPI 3.0 or 3.1, or Swagger 2.0, document in JSON into a collection:
// - the first server (its {variables} at their defaults), or scheme, host and basePath, as
//   the base URL; request URLs are the relative paths, {name} written {{name}}, and every
//   path parameter becomes a collection variable holding its example or default;
// - tags as folders (the document's tag order, then first use), untagged operations at the
//   top level; one request per operation, named by its summary, else its operationId, else
//   "METHOD /path", its description as notes;
// - query and header parameters as rows, enabled when required, holding their example;
// - a JSON body from the example or, failing that, a skeleton of the schema; form bodies as
//   rows (binary properties as "@" file rows); XML and text bodies with their kinds;
// - the security schemes as auth: the document's requirement on the collection, an
//   operation's own on its request (an empty one meaning none).
// Local $refs ("#/...") are followed; a reference that leads back into itself stops there.
class OpenAPIImport {
public:
    // Throws ImportError for text that is not JSON or not an OpenAPI document.
    static APICollection importDocument(std::string_view text);
};

}  // namespace tessaline
