#pragma once

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
    // The response line that will come for `id` (an id as JSONRPCMessage writes it). Expecting
    // an id that is already expected replaces the earlier wait, whose future then fails.
    std::future<std::string> expect(const std::string& id);
    // Gives `line` to the one waiting for `id`; returns whether anyone was.
    bool deliver(const std::string& id, std::string line);

private:
    std::mutex lock;
    std::map<std::string, std::promise<std::string>> waiting;  // guarded by lock
};

}  // namespace tessaline
