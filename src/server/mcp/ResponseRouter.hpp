#pragma once

#include <cstdint>
#include <future>
#include <map>
#include <mutex>
#include <string>

namespace tessaline {

// Hands the host's responses to requests the server sent it (a JSON-RPC message with an id and
// a result or an error, but no method) to whoever waits for them, by id. A response nobody
// waits for is dropped: it is never answered. Any thread may use it.
class ResponseRouter {
public:
    // A request of the server's on its way to the host.
    struct Expected {
        std::string id;  // as written in the request: "tessaline-1", "tessaline-2", ...
        std::future<std::string> response;
    };

    // A fresh id, never used before by this router, and the response that will come for it.
    Expected expectNew();
    // The response line that will come for `id` (an id as JSONRPCMessage writes it). Expecting
    // an id that is already expected replaces the earlier wait, whose future then fails.
    std::future<std::string> expect(const std::string& id);
    // Gives `line` to the one waiting for `id`; returns whether anyone was.
    bool deliver(const std::string& id, std::string line);
    // Stops waiting for `id`: a response that comes for it is dropped.
    void forget(const std::string& id);

private:
    std::mutex lock;
    // State below is guarded by lock.
    std::map<std::string, std::promise<std::string>> waiting;
    std::uint64_t issued = 0;
};

}  // namespace tessaline
