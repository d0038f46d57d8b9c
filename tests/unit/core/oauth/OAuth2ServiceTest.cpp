#include "core/oauth/OAuth2Service.hpp"

#include "OAuth2ServiceFixture.hpp"
#include "core/support/Base64.hpp"

#include <future>
#include <map>
#include <tuple>

namespace tessaline {
namespace {

class OAuth2ServiceTest : public OAuth2ServiceFixture {};

// Every grant posts its own fields, then the token parameters, then the client: in a Basic
// header when it authenticates that way and has a secret, else as fields. The token is kept.
TEST_F(OAuth2ServiceTest, EachGrantPostsItsFieldsThenTheTokenParametersAndTheClient) {
    scriptDevice(R"({"device_code":"dev-1","user_code":"U","verification_uri":"URI"})", {});
    server.onToken = nullptr;
    const auto token = server.url("/token");
    const std::vector<KeyValue> audience{{.key = "audience", .value = "api"}};
    const std::string basic = "Basic " + base64::encode("my client:se:cret");
    const std::tuple<OAuth2ResolvedConfig, std::string, std::string> cases[] = {  // the settings, the body and the Authorization
        {clientCredentials(), "grant_type=client_credentials&scope=read%20write&audience=api", basic},
        {{{.grant = OAuth2Grant::clientCredentials, .tokenURL = token, .clientID = "my client", .clientSecret = " s&cret ",
          .clientAuth = OAuth2ClientAuth::body, .tokenParams = audience}},
         "grant_type=client_credentials&audience=api&client_id=my%20client&client_secret=%20s%26cret%20", ""},
        {{{.grant = OAuth2Grant::clientCredentials, .tokenURL = token, .clientID = "my client", .tokenParams = audience}},
         "grant_type=client_credentials&audience=api&client_id=my%20client", ""},
        {{{.grant = OAuth2Grant::password, .tokenURL = token, .clientID = "my client", .clientSecret = "se:cret", .username = "ann",
          .password = " pw ", .tokenParams = audience}},
         "grant_type=password&username=ann&password=%20pw%20&audience=api", basic},
        {{{.grant = OAuth2Grant::refreshToken, .tokenURL = token, .clientID = "my client", .clientSecret = "se:cret",
          .refreshToken = "entered", .tokenParams = audience}},
         "grant_type=refresh_token&refresh_token=entered&audience=api", basic},
        {{{.grant = OAuth2Grant::authorizationCode, .authURL = server.url("/authorize"), .tokenURL = token, .clientID = "my client",
          .clientSecret = "se:cret", .redirectURI = "tessaline://oauth/callback", .usePKCE = false, .tokenParams = audience}},
         "grant_type=authorization_code&code=code-1&redirect_uri=tessaline%3A%2F%2Foauth%2Fcallback&audience=api", basic},
        {{{.grant = OAuth2Grant::deviceCode, .tokenURL = token, .deviceAuthURL = server.url("/device"), .clientID = "my client",
          .clientSecret = "se:cret", .tokenParams = audience}},
         "grant_type=urn%3Aietf%3Aparams%3Aoauth%3Agrant-type%3Adevice_code&device_code=dev-1&audience=api", basic},
    };
    int issued = 0;
    for (const auto& [config, body, authorization] : cases) {
        EXPECT_EQ("token-" + std::to_string(++issued), obtain(config));
        std::map<std::string, std::string> headers{
            {"Accept", "application/json"}, {"Content-Type", "application/x-www-form-urlencoded"}, {"User-Agent", "Tessaline/1.0"}};
        if (!authorization.empty()) headers["Authorization"] = authorization;
        EXPECT_EQ(body, server.requests().back().body);
        EXPECT_EQ(headers, server.requests().back().headers) << body;
    }
    const OAuth2Token first{.accessToken = "token-1", .refreshToken = "refresh-1", .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon};
    EXPECT_EQ((OAuth2TokenCache::Entry{.token = first, .label = "127.0.0.1 · my client"}), cache.allEntries().at(clientCredentials().cacheKey()));
}

TEST_F(OAuth2ServiceTest, ReuseKeepsATokenUntilThirtySecondsBeforeItExpiresThenRefreshesIt) {
    const auto config = clientCredentials();
    const auto key = config.cacheKey();
    cache.set(cachedToken(seconds(31)), key, "l");
    EXPECT_EQ("cached", obtain(config, Mode::reuse));
    EXPECT_TRUE(server.requests().empty());

    // A server that does not rotate refresh tokens answers without one: the old one stays.
    server.onToken = [](const auto&) { return AuthorizationServer::Reply(200, R"({"access_token":"fresh"})"); };
    cache.set(cachedToken(seconds(29)), key, "l");
    const OAuth2Token fresh{.accessToken = "fresh", .refreshToken = "cached-refresh", .obtainedAt = noon};
    EXPECT_EQ(fresh, service.token(config, Mode::reuse));
    EXPECT_EQ("cached-refresh", server.requests().at(0).field("refresh_token"));
    EXPECT_EQ(fresh, cache.tokenForKey(key));

    cache.set(cachedToken(seconds(29), std::nullopt), key, "l");
    obtain(config, Mode::reuse);
    // Refresh ignores freshness; renew ignores the refresh token.
    cache.set(cachedToken(seconds(3600)), key, "l");
    obtain(config, Mode::refresh);
    obtain(config, Mode::renew);
    EXPECT_EQ((std::vector<std::string>{"refresh_token", "client_credentials", "refresh_token", "client_credentials"}), grantsPosted());
}

// Failures before any request, and every one but a refused refresh token, keep the cached token.
TEST_F(OAuth2ServiceTest, ARefusedRefreshTokenFallsBackToTheGrantAndOtherFailuresKeepTheCachedToken) {
    auto config = clientCredentials();
    cache.set(cachedToken(seconds(0)), config.cacheKey(), "l");
    server.onToken = [](const AuthorizationServer::Received& request) {
        if (request.field("grant_type") == "refresh_token") return AuthorizationServer::Reply(400, R"({"error":"invalid_grant"})");
        return AuthorizationServer::Reply(401, R"({"error":"invalid_client","error_description":"bad secret"})");
    };
    EXPECT_EQ("OAuth 2 error invalid_client: bad secret (HTTP 401)", obtain(config, Mode::reuse));
    EXPECT_EQ((std::vector<std::string>{"refresh_token", "client_credentials"}), grantsPosted());
    EXPECT_EQ(cachedToken(seconds(0)), cache.tokenForKey(config.cacheKey()));

    config.tokenURL = "not a url";
    cache.set(cachedToken(seconds(0)), config.cacheKey(), "l");
    EXPECT_EQ("The token URL is missing or invalid.", obtain(config, Mode::reuse));
    EXPECT_EQ(cachedToken(seconds(0)), cache.tokenForKey(config.cacheKey()));
    config.grant = OAuth2Grant::refreshToken;
    EXPECT_EQ("Enter a refresh token to exchange.", obtain(config));

    // A grant that needs a person fails without one, unless a refresh token is cached.
    server.onToken = nullptr;
    const auto device = deviceCode();
    EXPECT_EQ("The Device Code grant needs a browser sign-in. Open Tessaline and press Get New Token.",
              thrownText([&] { service.token(device, Mode::refresh); }));
    const OAuth2Config undefined{{.grant = OAuth2Grant::clientCredentials, .authURL = "{{notUsedByThisGrant}}", .tokenURL = "{{host}}/token",
                                  .clientID = "{{id}}", .clientSecret = "{{host}}"}, {}};
    EXPECT_EQ("Undefined variables: host, id", thrownText([&] { service.token(undefined, VariableResolver{}, Mode::reuse); }));
    EXPECT_EQ(2u, server.requests().size());
    cache.set(cachedToken(seconds(0)), device.cacheKey(), "l");
    EXPECT_EQ("token-1", service.token(device, Mode::refresh).accessToken);
}

// The second caller comes while the token endpoint holds back its answer to the first: a second
// token request meanwhile is a second acquisition.
TEST_F(OAuth2ServiceTest, CallersForOneKeyShareOneAcquisitionAndItsOutcome) {
    const auto config = clientCredentials();
    const std::pair<AuthorizationServer::Reply, std::string> cases[] = {
        {AuthorizationServer::Reply(200, R"({"access_token":"shared"})"), "shared"},
        {AuthorizationServer::Reply(400, R"({"error":"invalid_scope"})"), "OAuth 2 error invalid_scope (HTTP 400)"},
    };
    for (const auto& [reply, outcome] : cases) {
        const auto answer = reply;  // Clang 14 cannot capture a structured binding
        // Expired, nothing to refresh it with: a caller reads the clock just before it joins or
        // starts an acquisition, which tells that the second one has come.
        cache.set(cachedToken(seconds(0), std::nullopt), config.cacheKey(), "l");
        int requests = 0;
        bool released = false;
        server.onToken = [&](const auto&) {
            std::unique_lock guard(clockLock);
            ++requests;
            clockRead.notify_all();
            clockRead.wait(guard, [&] { return released; });
            return answer;
        };
        const auto call = [&] { return std::async(std::launch::async, [&] { return obtain(config, Mode::reuse); }); };
        auto first = call();
        std::unique_lock guard(clockLock);
        // Bounded, so that a service that never asks fails the test instead of hanging.
        ASSERT_TRUE(clockRead.wait_for(guard, std::chrono::seconds(30), [&] { return requests == 1; }));
        const auto readings = clockReadings;
        auto second = call();
        ASSERT_TRUE(clockRead.wait_for(guard, std::chrono::seconds(30), [&] { return clockReadings > readings; }));
        // Joining shows nowhere: with a right service this wait runs out.
        EXPECT_FALSE(clockRead.wait_for(guard, std::chrono::milliseconds(50), [&] { return requests == 2; }));
        released = true;
        clockRead.notify_all();
        guard.unlock();
        EXPECT_EQ(outcome, first.get());
        EXPECT_EQ(outcome, second.get());
        server.onToken = nullptr;
    }
}

}  // namespace
}  // namespace tessaline
