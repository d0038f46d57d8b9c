#pragma once

// The workspace the benchmarks measure: one collection of 10,000 requests in 500 folders,
// each request with a query row, two headers and a JSON body.
#include "core/model/Workspace.hpp"

namespace tessaline::bench {

inline Workspace largeWorkspace() {
    APICollection collection{.name = "Large", .baseURL = "https://api.example.test/v1"};
    for (int f = 0; f < 500; ++f) {
        Folder folder(Uuid::random(), "Folder " + std::to_string(f));
        for (int r = 0; r < 20; ++r) {
            const auto number = std::to_string(f * 20 + r);
            folder.items.push_back(APIRequest{
                .name = "Request " + number,
                .method = r % 2 == 0 ? HTTPMethod::get : HTTPMethod::post,
                .url = "{{baseUrl}}/resources/" + number,
                .query = {KeyValue{.key = "page", .value = "1"}},
                .headers = {KeyValue{.key = "Accept", .value = "application/json"},
                            KeyValue{.key = "Authorization", .value = "Bearer {{token}}", .enabled = false}},
                .body = {.kind = BodyKind::json, .raw = "{\"id\": " + number + ", \"name\": \"item\"}"},
                .auth = {.kind = AuthKind::inherit},
                .timeout = 30,
            });
        }
        collection.items.push_back(std::move(folder));
    }
    return {.collections = {std::move(collection)}};
}

}  // namespace tessaline::bench
