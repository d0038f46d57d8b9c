#pragma once

#include "core/model/APICollection.hpp"
#include "core/model/APIRequest.hpp"

#include <string>
#include <string_view>
#include <vector>

// Which saved requests a request reads through chained references (`{{@Name.status}}`,
// `{{@Name.header.X}}`, `{{@Name.body.path}}`) and in which order they must be sent first.
// Only the saved texts are inspected; names are matched exactly, against the first request of
// that name in the collection's depth-first order.
namespace tessaline::chainAnalyzer {

// The request names of the chained references in `text`, in order, repeats kept. A reference
// without a "." (`{{@Login}}`) names nothing; blanks and tabs around a name are dropped.
std::vector<std::string> references(std::string_view text);

// The distinct names referenced anywhere in the request, first occurrence first: the URL, the
// raw body, the bearer token, user name, password and API key value, then the values of the
// enabled query, header and form rows. The request's own name and unknown names may be among them.
std::vector<std::string> dependencies(const APIRequest& request);

// The other requests of the collection that reference `request` by name, in depth-first order.
std::vector<APIRequest> dependents(const APIRequest& request, const APICollection& collection);

// The prerequisites of `root` in the order to send them, `root` itself excluded. References
// back to the root and to unknown names are ignored. A cycle that does not pass through the
// root can make a request appear twice.
std::vector<APIRequest> sendOrder(const APIRequest& root, const APICollection& collection);

}  // namespace tessaline::chainAnalyzer
