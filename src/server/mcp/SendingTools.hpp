#pragma once

#include "core/http/HTTPRunner.hpp"
#include "core/storage/WorkspaceStore.hpp"
#include "server/mcp/ToolLookup.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tessaline {

// The tools that send requests and read recorded responses. A failed exchange is not a
// failed tool: its summary carries the error. Sends run on a worker thread while the
// message loop waits for them.
class SendingTools {
public:
    // The characters of a response body shown when a call gives no maxBodyChars.
    static constexpr int defaultBodyLimit = 20000;

    SendingTools(WorkspaceStore& workspaceStore, const HTTPRunner& httpRunner)
        : store(workspaceStore), runner(httpRunner), lookup(workspaceStore) {}

    std::string sendRequest(const nlohmann::json& arguments);
    std::string sendAdhoc(const nlohmann::json& arguments);
    std::string getLastResponse(const nlohmann::json& arguments);

    // What the agent sees of a response: status, timing, headers and the body, cut after
    // `limit` characters; a JSON body within the limit is embedded as JSON.
    static nlohmann::json describe(const StoredResponse& response, long long limit);

private:
    StoredResponse sendBlocking(const ResolvedRequest& resolved, const APIRequest& original) const;

    WorkspaceStore& store;
    const HTTPRunner& runner;
    ToolLookup lookup;
};

}  // namespace tessaline
