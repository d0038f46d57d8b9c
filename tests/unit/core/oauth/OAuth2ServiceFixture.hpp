#pragma once

#include "ThrownText.hpp"
#include "core/http/URLComponents.hpp"
#include "core/oauth/OAuth2Interaction.hpp"
#include "core/oauth/OAuth2Service.hpp"
#include "core/oauth/PKCE.hpp"
#include "core/support/Clock.hpp"
#include "core/support/Date.hpp"
#include "core/support/FormFields.hpp"
#include "core/support/LocalHTTPServer.hpp"
#include "core/support/PercentEncoding.hpp"

#include <gtest/gtest.h>
#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tessaline {

// An OAuth 2 server on 127.0.0.1 that records the posts to "/token" and "/device" and answers as scripted.
// Unscripted, "/token" issues "token-1", "token-2", ... with refresh tokens, redeeming the last code only with
// its redirect URI and PKCE verifier, and "/authorize" redirects to the redirect URI with a code and the state.
class AuthorizationServer {
public:
    struct Received {
        std::string path, body;
        formFields::Fields fields{};
        std::map<std::string, std::string> headers{};  // the few the tests look at
        Date at{};  // by the test's clock

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
        for (const char* path : {"/token", "/device"}) {
            server.http.Post(path, [this](const httplib::Request& request, httplib::Response& response) { answer(request, response); });
        }
        server.http.Get("/authorize", [this](const httplib::Request& request, httplib::Response& response) { authorize(request, response); });
        server.start();
    }

    std::string url(std::string_view path) const { return server.url(path); }

    // The posts to "/token" or "/device".
    std::vector<Received> requests(const std::string& path = "/token") const {
        const std::lock_guard guard(lock);
        std::vector<Received> found;
        std::copy_if(received.begin(), received.end(), std::back_inserter(found), [&path](const auto& request) { return request.path == path; });
        return found;
    }

    // Set before the service runs.
    Script onToken;
    Script onDevice;
    Redirect onAuthorize;

private:
    void answer(const httplib::Request& request, httplib::Response& response) {
        Received got{.path = request.path, .body = request.body, .fields = formFields::decoded(request.body, formFields::Blank::escaped), .at = now()};
        for (const char* name : {"Authorization", "Content-Type", "Accept", "User-Agent"}) {
            if (request.has_header(name)) got.headers[name] = request.get_header_value(name);
        }
        {
            const std::lock_guard guard(lock);
            received.push_back(got);
        }
        // Unlocked: a script may hold its answer back while other requests come.
        const auto [status, body] = got.path == "/device" ? onDevice(got) : onToken ? onToken(got) : issue(got);
        response.status = status;
        response.set_content(body, "application/json");
    }

    Reply issue(const Received& request) {
        const std::lock_guard guard(lock);
        const auto verifier = request.field("code_verifier");
        if (request.field("grant_type") == "authorization_code" &&
            (request.field("code") != "code-" + std::to_string(authorizations) || request.field("redirect_uri") != authorized["redirect_uri"] ||
             (verifier ? pkce::challenge(*verifier) : "") != authorized["code_challenge"])) {
            return {400, R"({"error":"invalid_grant"})"};
        }
        const auto n = std::to_string(++issued);
        return {200, R"({"access_token":"token-)" + n + R"(","token_type":"Bearer","expires_in":3600,"refresh_token":"refresh-)" + n + R"("})"};
    }

    void authorize(const httplib::Request& request, httplib::Response& response) {
        const auto query = request.target.substr(request.target.find('?') + 1);  // the service always sends one
        const std::lock_guard guard(lock);
        authorized.clear();
        for (auto& [name, value] : formFields::decoded(query, formFields::Blank::escaped)) authorized.emplace(name, value);
        const auto code = "code-" + std::to_string(++authorizations);
        response.status = 302;
        response.set_header("Location", onAuthorize ? onAuthorize(authorized)
                                                    : authorized["redirect_uri"] + "?code=" + code + "&state=" +
                                                          percentEncoding::encode(authorized["state"], "-._*"));
    }

    Clock now;
    mutable std::mutex lock;
    std::vector<Received> received;
    std::map<std::string, std::string> authorized;  // the last authorization request's query, which its code is for
    int authorizations = 0;
    int issued = 0;
    LocalHTTPServer server;  // last: stops serving before the rest goes
};

// A person with a browser, recording what happens: a prompt's URL is visited on a thread of its own and the
// redirect followed to the loopback receiver; a sign-in through this browser returns the redirect's location.
class ScriptedBrowser : public OAuth2Interaction {
public:
    ~ScriptedBrowser() override { dismissPrompt(); }

    void showPrompt(const OAuth2Prompt& prompt, std::shared_ptr<CancelFlag> cancel) override {
        const std::lock_guard guard(lock);
        prompts.push_back(prompt);
        if (cancelOnPrompt) cancel->set();
        if (const auto* browser = std::get_if<OAuth2BrowserPrompt>(&prompt)) {
            visit = std::thread([this, url = browser->authorizationURL] {
                const auto page = get(get(url).get_header_value("Location")).body;
                const std::lock_guard visitGuard(lock);
                loopbackPages.push_back(page);
            });
        }
    }

    void dismissPrompt() override {
        if (visit.joinable()) visit.join();
        ++dismissals;
    }

    std::string signIn(const std::string& authorizationURL, const std::string& redirectURI, const OAuth2RedirectMode& mode) override {
        signIns.push_back({redirectURI, mode});
        return get(authorizationURL).get_header_value("Location");
    }

    bool cancelOnPrompt = false;  // set before the sign-in
    std::vector<OAuth2Prompt> prompts;
    int dismissals = 0;
    std::vector<std::pair<std::string, OAuth2RedirectMode>> signIns;
    std::vector<std::string> loopbackPages;  // the loopback receiver's answers, in order

private:
    // Every server met is on 127.0.0.1; a failed visit is an empty response.
    static httplib::Response get(const std::string& url) {
        const auto parts = URLComponents::parse(url);
        if (!parts) return {};
        const auto query = parts->query();
        const auto result = httplib::Client("127.0.0.1", parts->port().value_or(80)).Get(parts->path() + (query ? "?" + *query : ""));
        return result ? *result : httplib::Response{};
    }

    std::mutex lock;  // the visit's thread writes too
    std::thread visit;
};

// The token service, in which the flows run, against an authorization server on 127.0.0.1 with
// a scripted person at the browser, on a clock that moves only by the time the service sleeps.
class OAuth2ServiceFixture : public testing::Test {
protected:
    using Mode = OAuth2Service::Mode;
    using Seconds = OAuth2Timing::Seconds;
    using seconds = std::chrono::seconds;

    static inline const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

    OAuth2ResolvedConfig clientCredentials() const {
        return {{.grant = OAuth2Grant::clientCredentials, .tokenURL = server.url("/token"), .clientID = "my client",
                .clientSecret = "se:cret", .scope = "read write", .tokenParams = {{.key = "audience", .value = "api"}}}};
    }
    OAuth2ResolvedConfig authorizationCode(std::string redirectURI) const {
        return {{.grant = OAuth2Grant::authorizationCode, .authURL = server.url("/authorize?tenant=t"), .tokenURL = server.url("/token"),
                .clientID = "app", .scope = "openid profile", .redirectURI = std::move(redirectURI),
                .authParams = {{.key = "prompt", .value = "consent"}}, .tokenParams = {{.key = "resource", .value = "r"}}}};
    }
    OAuth2ResolvedConfig deviceCode() const {
        return {{.grant = OAuth2Grant::deviceCode, .tokenURL = server.url("/token"), .deviceAuthURL = server.url("/device"),
                .clientID = "tv", .scope = "read"}};
    }

    OAuth2Token cachedToken(seconds expiresIn, std::optional<std::string> refreshToken = "cached-refresh") const {
        return {.accessToken = "cached", .refreshToken = std::move(refreshToken), .expiresAt = noon + expiresIn, .obtainedAt = noon};
    }

    // The access token obtained, or the failure's text.
    std::string obtain(const OAuth2ResolvedConfig& config, Mode mode = Mode::renew) {
        std::string token;
        const auto failure = thrownText([&] { token = service.token(config, mode, &browser).accessToken; });
        return token.empty() ? failure : token;
    }

    std::vector<std::string> grantsPosted() const {
        std::vector<std::string> grants;
        for (const auto& request : server.requests()) grants.push_back(request.field("grant_type").value_or(""));
        return grants;
    }
    // Seconds after noon at which the token endpoint was polled.
    std::vector<double> pollTimes() const {
        std::vector<double> times;
        for (const auto& request : server.requests()) times.push_back(Seconds(request.at - noon).count());
        return times;
    }

    // The device authorization answers `authorization`, "URI" in it standing for a page of the
    // server; the token endpoint answers the errors in turn, then a token.
    void scriptDevice(std::string authorization, std::vector<std::string> errors) {
        authorization.replace(authorization.find("URI"), 3, verify);
        server.onDevice = [authorization](const auto&) { return AuthorizationServer::Reply(200, authorization); };
        server.onToken = [errors = std::move(errors), polls = std::size_t(0)](const auto&) mutable {
            if (polls == errors.size()) return AuthorizationServer::Reply(200, R"({"access_token":"device-token"})");
            return AuthorizationServer::Reply(400, R"({"error":")" + errors[polls++] + R"("})");
        };
    }

    Date now() {
        const std::lock_guard guard(clockLock);
        ++clockReadings;
        clockRead.notify_all();
        return clockTime;
    }
    std::mutex clockLock;
    std::condition_variable clockRead;  // for a test that waits, under clockLock, for a caller to come
    int clockReadings = 0;
    Date clockTime = noon;
    AuthorizationServer server{[this] { return now(); }};
    const std::string verify = server.url("/verify");
    ScriptedBrowser browser;
    OAuth2TokenCache cache{std::nullopt};
    OAuth2Service service{cache, {.now = [this] { return now(); }, .sleep = [this](Seconds slept) {
                                      const std::lock_guard guard(clockLock);
                                      clockTime += std::chrono::duration_cast<Date::duration>(slept);
                                  }}};
};

}  // namespace tessaline
