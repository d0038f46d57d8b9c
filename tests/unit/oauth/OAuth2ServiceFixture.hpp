#pragma once

#include "AuthorizationServer.hpp"
#include "ScriptedBrowser.hpp"
#include "ThrownText.hpp"
#include "oauth/OAuth2Service.hpp"
#include "support/Date.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tessaline {

// The token service against an authorization server on 127.0.0.1, on a clock that moves only
// when the service sleeps, with a scripted person at the browser. The flows' tests use it too:
// a flow runs inside the service, which gives it its token endpoint, its clock and its person.
class OAuth2ServiceFixture : public testing::Test {
protected:
    using Mode = OAuth2Service::Mode;
    using Seconds = OAuth2Timing::Seconds;
    using seconds = std::chrono::seconds;

    static inline const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

    OAuth2ResolvedConfig clientCredentials() const {
        return {.grant = OAuth2Grant::clientCredentials, .tokenURL = server.url("/token"), .clientID = "my client",
                .clientSecret = "se:cret", .scope = "read write", .tokenParams = {{.key = "audience", .value = "api"}}};
    }
    OAuth2ResolvedConfig authorizationCode(std::string redirectURI) const {
        return {.grant = OAuth2Grant::authorizationCode, .authURL = server.url("/authorize?tenant=t"), .tokenURL = server.url("/token"),
                .clientID = "app", .scope = "openid profile", .redirectURI = std::move(redirectURI),
                .authParams = {{.key = "prompt", .value = "consent"}}, .tokenParams = {{.key = "resource", .value = "r"}}};
    }
    OAuth2ResolvedConfig deviceCode() const {
        return {.grant = OAuth2Grant::deviceCode, .tokenURL = server.url("/token"), .deviceAuthURL = server.url("/device"),
                .clientID = "tv", .scope = "read"};
    }

    OAuth2Token cachedToken(seconds expiresIn, std::optional<std::string> refreshToken = "cached-refresh") const {
        return {.accessToken = "cached", .refreshToken = std::move(refreshToken), .expiresAt = noon + expiresIn, .obtainedAt = noon};
    }

    // The access token obtained, or the failure's text.
    std::string obtain(const OAuth2ResolvedConfig& config, Mode mode = Mode::renew, OAuth2Service* through = nullptr) {
        std::string token;
        const auto failure = thrownText([&] { token = (through ? *through : service).token(config, mode, &browser).accessToken; });
        return token.empty() ? failure : token;
    }

    std::vector<std::string> grantsPosted() const {
        std::vector<std::string> grants;
        for (const auto& request : server.tokenRequests()) grants.push_back(request.field("grant_type").value_or(""));
        return grants;
    }

    // The device authorization answers `authorization`, with "URI" standing for the server's
    // verification page; the token endpoint answers the errors in turn, then a token.
    void scriptDevice(std::string authorization, std::vector<std::string> errors) {
        authorization.replace(authorization.find("URI"), 3, verify);
        server.onDevice = [authorization](const auto&) { return AuthorizationServer::Reply(200, authorization); };
        server.onToken = [errors = std::move(errors), polls = std::size_t(0)](const auto&) mutable {
            if (polls == errors.size()) return AuthorizationServer::Reply(200, R"({"access_token":"device-token"})");
            return AuthorizationServer::Reply(400, R"({"error":")" + errors[polls++] + R"("})");
        };
    }

    // Seconds after noon at which the token endpoint was polled.
    std::vector<double> pollTimes() const {
        std::vector<double> times;
        for (const auto& request : server.tokenRequests()) times.push_back(Seconds(request.at - noon).count());
        return times;
    }

    // A clock that stands still until the service sleeps, and then moves on by exactly the time
    // slept: waits of any length take no real time.
    Date now() {
        const std::lock_guard guard(clockLock);
        return clockTime;
    }
    std::mutex clockLock;
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
