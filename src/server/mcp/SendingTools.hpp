#pragma once

#include "core/session/RequestSession.hpp"
#include "server/mcp/ToolLookup.hpp"
#include "server/mcp/ToolServices.hpp"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <utility>

namespace tessaline {

// The tools that send requests and read recorded responses, for one call: every use of the
// store goes through the call's onWorkspace(), and the exchange through its exchange(). A
// failed exchange is not a failed tool: its summary carries the error.
class SendingTools {
public:
    // The characters of a response body shown when a call gives no maxBodyChars.
    static constexpr int defaultBodyLimit = 20000;

    explicit SendingTools(const ToolServices& callServices) : services(callServices), lookup(callServices.store) {}

    std::string sendRequest(const nlohmann::json& arguments);
    std::string sendAdhoc(const nlohmann::json& arguments);
    std::string getLastResponse(const nlohmann::json& arguments);

    // What the agent sees of a response, as indented JSON text with sorted keys: status,
    // timing, headers and the body, cut after `limit` characters; a JSON body within the limit
    // is embedded as JSON. A streamed response shows its events instead of its body (see
    // eventListing::write), and why it ended.
    static std::string describe(const StoredResponse& response, long long limit);

private:
    // The session `prepare` makes on the workspace, authorized off it, built on it, exchanged,
    // and recorded on it.
    std::pair<StoredResponse, SaveReport> send(const std::function<RequestSession()>& prepare);
    // The session's OAuth 2 token. A grant that needs a person goes through a sign-in that the
    // call starts or joins when the server can see it through: the send then fails with what
    // the user must do, unless the host's dialog saw the sign-in through.
    void authorize(RequestSession& session);

    const ToolServices services;
    ToolLookup lookup;
};

}  // namespace tessaline
