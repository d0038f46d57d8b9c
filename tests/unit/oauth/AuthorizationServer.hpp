#pragma once

#include "oauth/PKCE.hpp"
#include "support/Clock.hpp"
#include "support/FormFields.hpp"
#include "support/LocalHTTPServer.hpp"
#include "support/PercentEncoding.hpp"

#include <algorithm>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tessaline {

// An OAuth 2 authorization server on 127.0.0.1 for the token service's tests. It records
// every post to its token ("/token") and device authorization ("/device") endpoints and
// answers as scripted; by default the token endpoint issues "token-1", "token-2", ... with
// refresh tokens and, for an authorization code, first checks the code, the redirect URI and
// the PKCE verifier against the authorization request. Its authorization endpoint
// ("/authorize") redirects to the redirect URI with a code and the state.
class AuthorizationServer {
public:
    struct Received {
        std::string body{};
        formFields::Fields fields{};
        std::map<std::string, std::string> headers{};  // the few the tests look at
        Date at{};  // by the test's clock

        // The value of a field; absent when it was not sent.
        std::optional<std::string> field(const std::string& name) const {
            const auto found = std::find_if(fields.begin(), fields.end(), [&name](const auto& field) { return field.first == name; });
            return found == fields.end() ? std::nullopt : std::optional(found->second);
        }
    };
    using Reply = std::pair<int, std::string>;  // the status and the JSON body
    using Script = std::function<Reply(const Received&)>;
    // The Location an authorization request is redirected to, from its decoded query.
    using Redirect = std::function<std::string(const std::map<std::string, std::string>& query)>;

    explicit AuthorizationServer(Clock clock = systemClock()) : now(std::move(clock)) {
        server.http.Post("/token", [this](const httplib::Request& request, httplib::Response& response) {
            // Called in place: a copy of the script would lose its state.
            answer(tokenCalls, request, response, [this](const Received& received) { return onToken ? onToken(received) : issue(received); });
        });
        server.http.Post("/device", [this](const httplib::Request& request, httplib::Response& response) {
            answer(deviceCalls, request, response, onDevice);
        });
        server.http.Get("/authorize", [this](const httplib::Request& request, httplib::Response& response) { authorize(request, response); });
        server.start();
    }

    std::string url(std::string_view path) const { return server.url(path); }

    std::vector<Received> tokenRequests() const { return copy(tokenCalls); }
    std::vector<Received> deviceRequests() const { return copy(deviceCalls); }
    // The query texts of the authorization requests, as they arrived.
    std::vector<std::string> authorizationQueries() const { return copy(queriesSeen); }

    // Set before the service runs.
    Script onToken;
    Script onDevice;
    Redirect onAuthorize;

private:
    template <class Log>
    Log copy(const Log& log) const {
        const std::lock_guard guard(lock);
        return log;
    }

    void answer(std::vector<Received>& log, const httplib::Request& request, httplib::Response& response, const Script& script) {
        Received received{.body = request.body, .fields = formFields::decoded(request.body), .at = now()};
        for (const char* name : {"Authorization", "Content-Type", "Accept", "User-Agent"}) {
            if (request.has_header(name)) received.headers[name] = request.get_header_value(name);
        }
        {
            const std::lock_guard guard(lock);
            log.push_back(received);
        }
        const auto [status, body] = script(received);
        response.status = status;
        response.set_content(body, "application/json");
    }

    Reply issue(const Received& request) {
        const std::lock_guard guard(lock);
        if (request.field("grant_type") == "authorization_code" && !redeems(request)) return {400, R"({"error":"invalid_grant"})"};
        const auto n = std::to_string(++issued);
        return {200, R"({"access_token":"token-)" + n + R"(","token_type":"Bearer","expires_in":3600,"refresh_token":"refresh-)" + n + R"("})"};
    }

    // Whether the code was issued for this redirect URI and the verifier fits its challenge.
    bool redeems(const Received& request) const {
        const auto found = codes.find(request.field("code").value_or(""));
        if (found == codes.end() || found->second.first != request.field("redirect_uri")) return false;
        const auto verifier = request.field("code_verifier");
        return found->second.second.empty() ? !verifier : verifier && pkce::challenge(*verifier) == found->second.second;
    }

    void authorize(const httplib::Request& request, httplib::Response& response) {
        const auto query = request.target.substr(request.target.find('?') + 1);  // the service always sends one
        std::map<std::string, std::string> parameters;
        for (auto& [name, value] : formFields::decoded(query)) parameters.emplace(name, value);
        const std::lock_guard guard(lock);
        queriesSeen.push_back(query);
        const auto code = "code-" + std::to_string(queriesSeen.size());
        codes[code] = {parameters["redirect_uri"], parameters["code_challenge"]};
        response.status = 302;
        response.set_header("Location", onAuthorize ? onAuthorize(parameters)
                                                    : parameters["redirect_uri"] + "?code=" + code + "&state=" +
                                                          percentEncoding::encode(parameters["state"], "-._*"));
    }

    Clock now;
    mutable std::mutex lock;
    std::vector<Received> tokenCalls;
    std::vector<Received> deviceCalls;
    std::vector<std::string> queriesSeen;
    std::map<std::string, std::pair<std::string, std::string>> codes;  // each code's redirect URI and challenge
    int issued = 0;
    LocalHTTPServer server;  // last: stops serving before the rest goes
};

}  // namespace tessaline
