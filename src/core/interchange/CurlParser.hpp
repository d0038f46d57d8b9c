#pragma once

#include "core/model/APIRequest.hpp"

#include <string_view>

namespace tessaline {

// Reads a curl command line, as pasted from a terminal, documentation or a browser's "Copy
// as cURL" (bash or cmd form, see ShellWords), into a request that sends what curl would
// send: the same method, URL, headers and body bytes.
//
// - The method is -X's (upper-cased), else HEAD for -I, POST when there is a body, else GET.
// - Data options join with "&"; --json pieces join without a separator. -G moves the data
//   into the query. -d sends application/x-www-form-urlencoded unless a Content-Type header
//   says otherwise, and that header stays on the request whenever the body kind would not
//   imply it; --json adds its Content-Type and Accept headers the same way.
// - The body kind follows the Content-Type: json, xml, form rows when the data is a form that
//   reads back to the same bytes, text otherwise. -F makes multipart rows; a file part's value
//   is "@" and the file's absolute path.
// - -u gives basic auth, --oauth2-bearer bearer auth, -L follows redirects (curl does not by
//   default), -m is the timeout. Options with no meaning for a saved request are skipped
//   together with their values.
// - The request is named by its method and path: "GET /users".
class CurlParser {
public:
    // Throws ImportError for a text that is not a curl command or cannot be split, and
    // FileError for a file named by an @file or <file form that cannot be read.
    static APIRequest parse(std::string_view text);
};

}  // namespace tessaline
