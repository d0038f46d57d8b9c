#include "server/mcp/ResponseRouter.hpp"

namespace tessaline {

std::future<std::string> ResponseRouter::expect(const std::string& id) {
    const std::lock_guard guard(lock);
    std::promise<std::string> promise;
    auto future = promise.get_future();
    waiting.insert_or_assign(id, std::move(promise));
    return future;
}

ResponseRouter::Expected ResponseRouter::expectNew() {
    std::uint64_t number = 0;
    {
        const std::lock_guard guard(lock);
        number = ++issued;
    }
    auto id = "\"tessaline-" + std::to_string(number) + "\"";
    auto response = expect(id);
    return {std::move(id), std::move(response)};
}

void ResponseRouter::forget(const std::string& id) {
    const std::lock_guard guard(lock);
    waiting.erase(id);
}

bool ResponseRouter::deliver(const std::string& id, std::string line) {
    std::promise<std::string> promise;
    {
        const std::lock_guard guard(lock);
        const auto found = waiting.find(id);
        if (found == waiting.end()) return false;
        promise = std::move(found->second);
        waiting.erase(found);
    }
    promise.set_value(std::move(line));
    return true;
}

}  // namespace tessaline
