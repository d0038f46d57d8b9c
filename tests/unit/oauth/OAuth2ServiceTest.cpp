#include "oauth/OAuth2Service.hpp"

#include "AuthorizationServer.hpp"
#include "ScriptedBrowser.hpp"
#include "ThrownText.hpp"
#include "support/Base64.hpp"

#include <gtest/gtest.h>

#include <condition_variable>
#include <future>

namespace tessaline {
namespace {

using Mode = OAuth2Service::Mode;
using std::chrono::seconds;

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

class OAuth2ServiceTest : public testing::Test {
protected:
    OAuth2ResolvedConfig clientCredentials() const {
        return {.grant = OAuth2Grant::clientCredentials,
                .tokenURL = server.url("/token"),
                .clientID = "my client",
                .clientSecret = "se:cret",
                .scope = "read write",
                .tokenParams = {{.key = "audience", .value = "api"}}};
    }

    OAuth2Token cachedToken(seconds expiresIn, std::optional<std::string> refreshToken = "cached-refresh") const {
        return {.accessToken = "cached", .refreshToken = std::move(refreshToken), .expiresAt = noon + expiresIn,
                .obtainedAt = noon};
    }

    std::vector<std::string> grantsPosted() const {
        std::vector<std::string> grants;
        for (const auto& request : server.tokenRequests()) grants.push_back(request.field("grant_type").value_or(""));
        return grants;
    }

    std::string failure(const OAuth2ResolvedConfig& config, Mode mode) {
        return thrownText([&] { service.token(config, mode); });
    }

    SteppedClock clock{noon};
    AuthorizationServer server{[this] { return clock.now(); }};
    ScriptedBrowser browser;
    OAuth2TokenCache cache{std::nullopt};
    OAuth2Service service{cache, clock.timing()};
};

TEST_F(OAuth2ServiceTest, AnObtainedTokenIsStoredUnderItsKey) {
    const auto config = clientCredentials();
    const auto token = service.token(config, Mode::reuse);
    EXPECT_EQ((OAuth2Token{.accessToken = "token-1", .refreshToken = "refresh-1", .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon}),
              token);
    EXPECT_EQ((OAuth2TokenCache::Entries{{config.cacheKey(), {.token = token, .label = "127.0.0.1 · my client"}}}), cache.allEntries());
}

// Every grant posts its own fields, then the token parameters, then the client: in a Basic
// header when it authenticates that way and has a secret, else as fields.
TEST_F(OAuth2ServiceTest, EachGrantPostsItsFieldsThenTheTokenParametersAndTheClient) {
    server.onDevice = [](const auto&) {
        return AuthorizationServer::json(200, R"({"device_code":"dev-1","user_code":"U","verification_uri":"https://x.example/v"})");
    };
    const auto token = server.url("/token");
    const std::vector<KeyValue> audience{{.key = "audience", .value = "api"}};
    const std::string basic = "Basic " + base64::encode("my client:se:cret");
    const struct {
        OAuth2ResolvedConfig config;
        std::string body;
        std::string authorization;
    } cases[] = {
        {clientCredentials(), "grant_type=client_credentials&scope=read%20write&audience=api", basic},
        {{.grant = OAuth2Grant::clientCredentials, .tokenURL = token, .clientID = "my client", .clientSecret = " s&cret ",
          .clientAuth = OAuth2ClientAuth::body, .tokenParams = audience},
         "grant_type=client_credentials&audience=api&client_id=my%20client&client_secret=%20s%26cret%20", ""},
        {{.grant = OAuth2Grant::clientCredentials, .tokenURL = token, .clientID = "my client", .tokenParams = audience},
         "grant_type=client_credentials&audience=api&client_id=my%20client", ""},
        {{.grant = OAuth2Grant::password, .tokenURL = token, .clientID = "my client", .clientSecret = "se:cret", .username = "ann",
          .password = " pw ", .tokenParams = audience},
         "grant_type=password&username=ann&password=%20pw%20&audience=api", basic},
        {{.grant = OAuth2Grant::refreshToken, .tokenURL = token, .clientID = "my client", .clientSecret = "se:cret",
          .refreshToken = "entered", .tokenParams = audience},
         "grant_type=refresh_token&refresh_token=entered&audience=api", basic},
        {{.grant = OAuth2Grant::authorizationCode, .authURL = server.url("/authorize"), .tokenURL = token, .clientID = "my client",
          .clientSecret = "se:cret", .redirectURI = "tessaline://oauth/callback", .usePKCE = false, .tokenParams = audience},
         "grant_type=authorization_code&code=code-1&redirect_uri=tessaline%3A%2F%2Foauth%2Fcallback&audience=api", basic},
        {{.grant = OAuth2Grant::deviceCode, .tokenURL = token, .deviceAuthURL = server.url("/device"), .clientID = "my client",
          .clientSecret = "se:cret", .tokenParams = audience},
         "grant_type=urn%3Aietf%3Aparams%3Aoauth%3Agrant-type%3Adevice_code&device_code=dev-1&audience=api", basic},
    };
    for (const auto& [config, body, authorization] : cases) {
        EXPECT_NE("", service.token(config, Mode::renew, &browser).accessToken);
        std::map<std::string, std::string> headers{
            {"Accept", "application/json"}, {"Content-Type", "application/x-www-form-urlencoded"}, {"User-Agent", "Tessaline/1.0"}};
        if (!authorization.empty()) headers["Authorization"] = authorization;
        EXPECT_EQ(body, server.tokenRequests().back().body);
        EXPECT_EQ(headers, server.tokenRequests().back().headers) << body;
    }
}

TEST_F(OAuth2ServiceTest, ReuseKeepsATokenUntilThirtySecondsBeforeItExpiresThenRefreshesIt) {
    const auto config = clientCredentials();
    const auto key = config.cacheKey();
    cache.set(cachedToken(seconds(31)), key, "l");
    EXPECT_EQ("cached", service.token(config, Mode::reuse).accessToken);
    EXPECT_TRUE(server.tokenRequests().empty());

    // A server that does not rotate refresh tokens answers without one: the old one stays.
    server.onToken = [](const auto&) { return AuthorizationServer::json(200, R"({"access_token":"fresh"})"); };
    cache.set(cachedToken(seconds(29)), key, "l");
    const OAuth2Token fresh{.accessToken = "fresh", .refreshToken = "cached-refresh", .obtainedAt = noon};
    EXPECT_EQ(fresh, service.token(config, Mode::reuse));
    EXPECT_EQ("cached-refresh", server.tokenRequests().at(0).field("refresh_token"));
    EXPECT_EQ(fresh, cache.tokenForKey(key));

    cache.set(cachedToken(seconds(29), std::nullopt), key, "l");
    service.token(config, Mode::reuse);
    // Refresh ignores freshness; renew ignores the refresh token.
    cache.set(cachedToken(seconds(3600)), key, "l");
    service.token(config, Mode::refresh);
    service.token(config, Mode::renew);
    EXPECT_EQ((std::vector<std::string>{"refresh_token", "client_credentials", "refresh_token", "client_credentials"}),
              grantsPosted());
}

TEST_F(OAuth2ServiceTest, ARefusedRefreshTokenFallsBackToTheGrantAndOtherFailuresKeepTheCachedToken) {
    auto config = clientCredentials();
    cache.set(cachedToken(seconds(0)), config.cacheKey(), "l");
    server.onToken = [](const AuthorizationServer::Received& request) {
        if (request.field("grant_type") == "refresh_token") return AuthorizationServer::json(400, R"({"error":"invalid_grant"})");
        return AuthorizationServer::json(401, R"({"error":"invalid_client","error_description":"bad secret"})");
    };
    EXPECT_EQ("OAuth 2 error invalid_client: bad secret (HTTP 401)", failure(config, Mode::reuse));
    EXPECT_EQ((std::vector<std::string>{"refresh_token", "client_credentials"}), grantsPosted());
    EXPECT_EQ(cachedToken(seconds(0)), cache.tokenForKey(config.cacheKey()));

    config.tokenURL = "not a url";
    cache.set(cachedToken(seconds(0)), config.cacheKey(), "l");
    EXPECT_EQ("The token URL is missing or invalid.", failure(config, Mode::reuse));
    EXPECT_EQ(cachedToken(seconds(0)), cache.tokenForKey(config.cacheKey()));
    config.grant = OAuth2Grant::refreshToken;
    EXPECT_EQ("Enter a refresh token to exchange.", failure(config, Mode::renew));
    EXPECT_EQ(2u, server.tokenRequests().size());
}

TEST_F(OAuth2ServiceTest, GrantsThatNeedAPersonFailWithoutOneUnlessARefreshTokenIsCached) {
    auto config = clientCredentials();
    config.grant = OAuth2Grant::authorizationCode;
    EXPECT_EQ("The Authorization Code grant needs a browser sign-in. Open Tessaline and press Get New Token.",
              failure(config, Mode::reuse));
    config.grant = OAuth2Grant::deviceCode;
    EXPECT_EQ("The Device Code grant needs a browser sign-in. Open Tessaline and press Get New Token.",
              failure(config, Mode::refresh));
    EXPECT_TRUE(server.tokenRequests().empty());

    cache.set(cachedToken(seconds(0)), config.cacheKey(), "l");
    EXPECT_EQ("token-1", service.token(config, Mode::refresh).accessToken);
}

TEST_F(OAuth2ServiceTest, UndefinedVariablesAreRefusedBeforeAnyRequest) {
    const OAuth2Config config{.grant = OAuth2Grant::clientCredentials,
                              .authURL = "{{notUsedByThisGrant}}",
                              .tokenURL = "{{host}}/token",
                              .clientID = "{{id}}",
                              .clientSecret = "{{host}}"};
    EXPECT_EQ("Undefined variables: host, id", thrownText([&] { service.token(config, VariableResolver{}, Mode::reuse); }));
    EXPECT_TRUE(server.tokenRequests().empty());

    const VariableResolver resolver{.scopes = {{{.key = "host", .value = server.url("")}, {.key = "id", .value = "app"}}}};
    EXPECT_EQ("token-1", service.token(config, resolver, Mode::reuse).accessToken);
    const auto request = server.tokenRequests().at(0);
    EXPECT_EQ("grant_type=client_credentials", request.body);
    EXPECT_EQ("Basic " + base64::encode("app:" + server.url("")), request.headers.at("Authorization"));
}

// Two callers for one key, the second arriving while the token endpoint holds back its answer
// to the first: a second token request arriving meanwhile is a second acquisition.
TEST_F(OAuth2ServiceTest, CallersForOneKeyShareOneAcquisitionAndItsOutcome) {
    const auto config = clientCredentials();
    const std::pair<AuthorizationServer::Reply, std::string> cases[] = {
        {AuthorizationServer::json(200, R"({"access_token":"shared"})"), "shared"},
        {AuthorizationServer::json(400, R"({"error":"invalid_scope"})"), "OAuth 2 error invalid_scope (HTTP 400)"},
    };
    for (const auto& [answer, outcome] : cases) {
        // Expired, with nothing to refresh it: each caller reads the clock just before it joins
        // or starts an acquisition, which tells the test that the second one has come.
        cache.set(cachedToken(seconds(0), std::nullopt), config.cacheKey(), "l");
        std::mutex mutex;
        std::condition_variable changed;
        int requests = 0, clockReadings = 0;
        bool released = false;
        server.onToken = [&](const auto&) {
            std::unique_lock guard(mutex);
            ++requests;
            changed.notify_all();
            changed.wait(guard, [&] { return released; });
            return answer;
        };
        OAuth2Service shared(cache, {.now = [&] {
                                 const std::lock_guard guard(mutex);
                                 ++clockReadings;
                                 changed.notify_all();
                                 return noon;
                             }});
        const auto call = [&] {
            return std::async(std::launch::async, [&] {
                std::string token;
                const auto failure = thrownText([&] { token = shared.token(config, Mode::reuse).accessToken; });
                return token.empty() ? failure : token;
            });
        };
        auto first = call();
        std::unique_lock guard(mutex);
        changed.wait(guard, [&] { return requests == 1; });
        auto second = call();
        changed.wait(guard, [&] { return clockReadings == 2; });
        // Joining shows nowhere, so with a right service this wait always runs out.
        EXPECT_FALSE(changed.wait_for(guard, std::chrono::milliseconds(50), [&] { return requests == 2; }));
        released = true;
        changed.notify_all();
        guard.unlock();
        EXPECT_EQ(outcome, first.get());
        EXPECT_EQ(outcome, second.get());
        server.onToken = nullptr;
    }
}

}  // namespace
}  // namespace tessaline
