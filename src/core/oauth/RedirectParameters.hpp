#pragma once

#include <map>
#include <string>
#include <string_view>

namespace tessaline {

// The parameters of a redirect back from an authorization server: the query's, then those of
// the fragment (read as a query, for servers that answer there) that the query lacks. Within
// each, the first occurrence of a name wins.
std::map<std::string, std::string> redirectParameters(std::string_view url);

}  // namespace tessaline
