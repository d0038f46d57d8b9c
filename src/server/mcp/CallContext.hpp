#pragma once

#include "core/model/StoredResponse.hpp"
#include "core/session/RequestSession.hpp"
#include "core/support/MadeBy.hpp"
#include "server/mcp/ResponseRouter.hpp"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace tessaline {

// Where the steps of one tool call run. A tool that sends does its workspace steps through
// onWorkspace() (the store is single-threaded) and its exchange through exchange(), so that a
// message loop may run the workspace steps of all calls one at a time, in the order the calls
// arrived, and the exchanges side by side.
class CallContext {
public:
    virtual ~CallContext() = default;

    // Runs `step` where the store may be used, after the steps of the calls read before this
    // one, and returns once it has run; an exception it throws is rethrown here.
    virtual void runOnWorkspace(const std::function<void()>& step) = 0;
    // Performs the session's exchange, which may be cancelled and report its progress. Throws
    // Error(CurlEasy::cancelledText) when the call was cancelled before the exchange began.
    virtual StoredResponse exchange(const RequestSession& session) = 0;
    // Says that what the call does next touches no workspace and may take long (an OAuth 2
    // token request), so that later calls need not wait for it.
    virtual void leaveWorkspace() = 0;

    // Whether the host cancelled the call (its reply will not be written).
    virtual bool isCancelled() const = 0;
    // Sends the host a request of the server's; the host's response line comes through the
    // result. Nothing when no host can answer this call (a call handled without the loop).
    virtual std::optional<ResponseRouter::Expected> askHost(const std::string& method, const nlohmann::json& params) = 0;
    // Tells the host that the server no longer needs the response to `request`.
    virtual void withdraw(const ResponseRouter::Expected& request) = 0;
    // A progress notification, when the call carried a progress token: `progress` must grow
    // from one notification to the next.
    virtual void reportProgress(std::uint64_t progress, std::optional<std::uint64_t> total, const std::string& message) = 0;

    // runOnWorkspace() for a step with a result.
    template <typename Step>
    std::invoke_result_t<Step> onWorkspace(Step&& step) {
        using Result = std::invoke_result_t<Step>;
        if constexpr (std::is_void_v<Result>) {
            runOnWorkspace(std::forward<Step>(step));
        } else {
            std::optional<Result> result;
            runOnWorkspace([&] { result.emplace(MadeBy{step}); });
            return std::move(*result);
        }
    }
};

}  // namespace tessaline
