#pragma once

#include "core/http/URLComponents.hpp"
#include "core/model/BodyKind.hpp"
#include "core/model/HTTPMethod.hpp"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessaline {

// A request ready to send: every variable substituted, auth applied, the body encoded.
struct ResolvedRequest {
    HTTPMethod method = HTTPMethod::get;
    std::string url{};  // absolute, query included
    // `url` as libcurl took it apart when the request was resolved, handed on to the exchange
    // so that libcurl need not parse it again. It follows from `url`, so it takes no part in
    // comparing requests; absent in a request made by hand.
    struct ParsedURL {
        std::optional<URLComponents> components;
        bool operator==(const ParsedURL&) const { return true; }
    } parsedURL{};
    std::vector<std::pair<std::string, std::string>> headers{};  // (name, value), in order, repeats allowed
    std::optional<std::string> body{};  // absent when the method takes none or the kind is `none`
    BodyKind bodyKind = BodyKind::none;
    std::optional<std::string> bodyText{};  // a readable rendering of the body, for history and display

    bool operator==(const ResolvedRequest&) const = default;
};

}  // namespace tessaline
