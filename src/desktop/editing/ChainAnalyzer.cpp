#include "desktop/editing/ChainAnalyzer.hpp"

#include "core/model/ItemTree.hpp"
#include "core/variables/Placeholders.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace tessaline::chainAnalyzer {
namespace {

constexpr std::string_view referenceOpener = "{{@";

// The texts of a request that may hold chained references, in the order they are scanned.
std::vector<std::string_view> scannedTexts(const APIRequest& request) {
    std::vector<std::string_view> texts{request.url,           request.body.raw,      request.auth.token,
                                        request.auth.username, request.auth.password, request.auth.apiKeyValue};
    for (const auto* rows : {&request.query, &request.headers, &request.body.form}) {
        for (const auto& row : *rows) {
            if (row.enabled) texts.push_back(row.value);
        }
    }
    return texts;
}

// A depth-first post-order walk from the root over the requests that each request reads.
struct SendOrderWalk {
    const APIRequest& root;
    const APICollection& collection;
    std::unordered_set<Uuid> visited{};
    std::vector<APIRequest> order{};

    void visit(const APIRequest& request) {
        if (!visited.insert(request.id).second) return;
        for (const auto& name : dependencies(request)) {
            const auto found = itemTree::firstRequestNamed(collection.items, name);
            if (!found || found->id == root.id || isOrdered(found->id)) continue;
            // Tested before the visit, appended after it: a cycle that avoids the root can
            // append a request inside the visit and again here.
            visit(*found);
            order.push_back(*found);
        }
    }

    bool isOrdered(const Uuid& id) const {
        return std::any_of(order.begin(), order.end(), [&id](const APIRequest& request) { return request.id == id; });
    }
};

}  // namespace

std::vector<std::string> references(std::string_view text) {
    std::vector<std::string> names;
    placeholders::scan(
        text, referenceOpener, [](std::string_view) {},
        [&names](std::string_view body) {
            const auto dot = body.find('.');
            if (dot != std::string_view::npos) names.emplace_back(placeholders::trimmed(body.substr(0, dot)));
        });
    return names;
}

std::vector<std::string> dependencies(const APIRequest& request) {
    std::vector<std::string> names;
    std::unordered_set<std::string> seen;
    for (const auto text : scannedTexts(request)) {
        for (auto& name : references(text)) {
            if (seen.insert(name).second) names.push_back(std::move(name));
        }
    }
    return names;
}

std::vector<APIRequest> dependents(const APIRequest& request, const APICollection& collection) {
    auto requests = itemTree::allRequests(collection.items);
    std::erase_if(requests, [&request](const APIRequest& other) {
        if (other.id == request.id) return true;
        const auto names = dependencies(other);
        return std::find(names.begin(), names.end(), request.name) == names.end();
    });
    return requests;
}

std::vector<APIRequest> sendOrder(const APIRequest& root, const APICollection& collection) {
    SendOrderWalk walk{root, collection};
    walk.visit(root);
    return std::move(walk.order);
}

}  // namespace tessaline::chainAnalyzer
