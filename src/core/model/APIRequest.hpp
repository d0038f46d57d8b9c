#pragma once

#include "core/model/Auth.hpp"
#include "core/model/HTTPMethod.hpp"
#include "core/model/KeyValue.hpp"
#include "core/model/RequestBody.hpp"

#include <string>
#include <vector>

namespace tessaline {

struct APIRequest {
    Uuid id = Uuid::random();
    std::string name{};
    HTTPMethod method = HTTPMethod::get;
    std::string url{};  // as typed: may be relative ("/users") and hold {{variable}} references
    std::vector<KeyValue> query{};
    std::vector<KeyValue> headers{};
    RequestBody body{};
    Auth auth{};
    std::string notes{};
    bool followRedirects = true;
    double timeout = 30;  // seconds

    bool operator==(const APIRequest&) const = default;
};

}  // namespace tessaline
