#include "oauth/OAuth2Service.hpp"

#include "AuthorizationServer.hpp"
#include "SteppedClock.hpp"
#include "oauth/OAuth2Error.hpp"
#include "pipeline/RequestBuildError.hpp"
#include "support/Base64.hpp"
#include "support/Uuid.hpp"

#include <gtest/gtest.h>

#include <future>

namespace tessaline {
namespace {

namespace fs = std::filesystem;
using Mode = OAuth2Service::Mode;
using std::chrono::seconds;

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

// The text of what the call throws.
template <class Call>
std::string failure(Call&& call) {
    try {
        call();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no failure";
}

class OAuth2ServiceTest : public testing::Test {
protected:
    void TearDown() override { fs::remove_all(folder); }

    OAuth2ResolvedConfig clientCredentials() const {
        return {.grant = OAuth2Grant::clientCredentials,
                .tokenURL = server.url("/token"),
                .clientID = "my client",
                .clientSecret = "se:cret",
                .scope = "read write",
                .tokenParams = {{.key = "audience", .value = "api"}}};
    }

    OAuth2Token cachedToken(seconds expiresIn, std::optional<std::string> refreshToken = "cached-refresh") {
        return {.accessToken = "cached", .refreshToken = std::move(refreshToken), .expiresAt = noon + expiresIn,
                .obtainedAt = noon};
    }

    std::vector<std::string> grantsPosted() const {
        std::vector<std::string> grants;
        for (const auto& request : server.tokenRequests()) grants.push_back(request.field("grant_type"));
        return grants;
    }

    // Two callers for clientCredentials(), the second (in `secondMode`) arriving while the
    // token endpoint holds back its first answer; each one's access token or failure text.
    std::pair<std::string, std::string> twoCallers(Mode secondMode,
                                                   std::function<AuthorizationServer::Reply(int call)> answer) {
        std::promise<void> arrived;
        std::promise<void> release;
        server.onToken = [&, released = release.get_future().share(), calls = 0](const auto&) mutable {
            if (++calls == 1) {
                arrived.set_value();
                released.wait();
            }
            return answer(calls);
        };
        const auto config = clientCredentials();
        const auto call = [&](Mode mode) {
            return std::async(std::launch::async, [&, mode] {
                std::string result;
                const auto text = failure([&] { result = service.token(config, mode).accessToken; });
                return result.empty() ? text : result;
            });
        };
        auto first = call(Mode::reuse);
        arrived.get_future().wait();
        auto second = call(secondMode);
        // Long enough for the second caller to reach the running acquisition.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        release.set_value();
        std::pair results{first.get(), second.get()};
        server.onToken = nullptr;
        return results;
    }

    const fs::path folder = fs::temp_directory_path() / ("tessaline-oauth-" + Uuid::random().text());
    SteppedClock clock{noon};
    AuthorizationServer server{[this] { return clock.now(); }};
    OAuth2TokenCache cache{folder / "oauth-tokens.json"};
    OAuth2Service service{cache, clock.timing()};
};

TEST_F(OAuth2ServiceTest, ClientCredentialsPostTheGrantWithABasicHeaderAndTokenParameters) {
    const auto config = clientCredentials();
    const auto token = service.token(config, Mode::reuse);
    EXPECT_EQ((OAuth2Token{.accessToken = "token-1", .tokenType = "Bearer", .refreshToken = "refresh-1",
                           .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon}),
              token);

    const auto requests = server.tokenRequests();
    ASSERT_EQ(1u, requests.size());
    EXPECT_EQ("grant_type=client_credentials&scope=read%20write&audience=api", requests[0].body);
    EXPECT_EQ((std::map<std::string, std::string>{{"Accept", "application/json"},
                                                  {"Authorization", "Basic " + base64::encode("my client:se:cret")},
                                                  {"Content-Type", "application/x-www-form-urlencoded"},
                                                  {"User-Agent", "Tessaline/1.0"}}),
              requests[0].headers);

    const auto entries = cache.allEntries();
    ASSERT_EQ(1u, entries.count(config.cacheKey()));
    EXPECT_EQ("127.0.0.1 · my client", entries.at(config.cacheKey()).label);
    EXPECT_EQ(token, entries.at(config.cacheKey()).token);
}

TEST_F(OAuth2ServiceTest, ClientCredentialsGoInTheBodyWhenAskedOrWithoutASecret) {
    auto config = clientCredentials();
    config.clientAuth = OAuth2ClientAuth::body;
    config.clientSecret = " s&cret ";
    service.token(config, Mode::renew);
    config.clientAuth = OAuth2ClientAuth::basicHeader;
    config.clientSecret = "";
    service.token(config, Mode::renew);

    const auto requests = server.tokenRequests();
    ASSERT_EQ(2u, requests.size());
    EXPECT_EQ("grant_type=client_credentials&scope=read%20write&audience=api&client_id=my%20client&"
              "client_secret=%20s%26cret%20",
              requests[0].body);
    EXPECT_EQ("grant_type=client_credentials&scope=read%20write&audience=api&client_id=my%20client", requests[1].body);
    EXPECT_FALSE(requests[0].headers.contains("Authorization"));
    EXPECT_FALSE(requests[1].headers.contains("Authorization"));
}

TEST_F(OAuth2ServiceTest, PasswordAndRefreshTokenGrants) {
    auto config = clientCredentials();
    config.grant = OAuth2Grant::password;
    config.username = "ann";
    config.password = " pw ";
    config.scope = "";
    service.token(config, Mode::renew);

    config.grant = OAuth2Grant::refreshToken;
    EXPECT_EQ("Enter a refresh token to exchange.", failure([&] { service.token(config, Mode::renew); }));
    config.refreshToken = "entered";
    config.scope = "ignored by refreshes";
    server.onToken = [](const auto&) { return AuthorizationServer::json(200, R"({"access_token":"fresh"})"); };
    EXPECT_EQ(std::optional<std::string>("entered"), service.token(config, Mode::renew).refreshToken);

    const auto requests = server.tokenRequests();
    ASSERT_EQ(2u, requests.size());
    EXPECT_EQ("grant_type=password&username=ann&password=%20pw%20&audience=api", requests[0].body);
    EXPECT_EQ("grant_type=refresh_token&refresh_token=entered&audience=api", requests[1].body);
}

TEST_F(OAuth2ServiceTest, ReuseKeepsATokenUntilThirtySecondsBeforeItExpires) {
    const auto config = clientCredentials();
    cache.set(cachedToken(seconds(31)), config.cacheKey(), "l");
    EXPECT_EQ("cached", service.token(config, Mode::reuse).accessToken);
    EXPECT_TRUE(server.tokenRequests().empty());

    cache.set(cachedToken(seconds(29)), config.cacheKey(), "l");
    EXPECT_EQ("token-1", service.token(config, Mode::reuse).accessToken);
    EXPECT_EQ(std::vector<std::string>{"refresh_token"}, grantsPosted());
    EXPECT_EQ("cached-refresh", server.tokenRequests()[0].field("refresh_token"));
    EXPECT_EQ("token-1", cache.tokenForKey(config.cacheKey())->accessToken);

    cache.set(cachedToken(seconds(29), std::nullopt), config.cacheKey(), "l");
    EXPECT_EQ("token-2", service.token(config, Mode::reuse).accessToken);
    EXPECT_EQ((std::vector<std::string>{"refresh_token", "client_credentials"}), grantsPosted());
}

TEST_F(OAuth2ServiceTest, RefreshIgnoresFreshnessAndRenewIgnoresTheRefreshToken) {
    const auto config = clientCredentials();
    cache.set(cachedToken(seconds(3600)), config.cacheKey(), "l");
    service.token(config, Mode::refresh);
    service.token(config, Mode::renew);
    EXPECT_EQ((std::vector<std::string>{"refresh_token", "client_credentials"}), grantsPosted());
}

TEST_F(OAuth2ServiceTest, ARejectedRefreshTokenFallsBackToTheGrant) {
    const auto config = clientCredentials();
    cache.set(cachedToken(seconds(0)), config.cacheKey(), "l");
    server.onToken = [](const AuthorizationServer::Received& request) {
        if (request.field("grant_type") == "refresh_token") {
            return AuthorizationServer::json(400, R"({"error":"invalid_grant"})");
        }
        return AuthorizationServer::json(200, R"({"access_token":"granted"})");
    };
    EXPECT_EQ("granted", service.token(config, Mode::reuse).accessToken);
    EXPECT_EQ((std::vector<std::string>{"refresh_token", "client_credentials"}), grantsPosted());
}

TEST_F(OAuth2ServiceTest, ARefreshThatCannotBeSentEndsTheAttemptAndKeepsTheCache) {
    auto config = clientCredentials();
    config.tokenURL = "not a url";
    cache.set(cachedToken(seconds(0)), config.cacheKey(), "l");
    EXPECT_EQ("The token URL is missing or invalid.", failure([&] { service.token(config, Mode::reuse); }));

    config.tokenURL = "http://127.0.0.1:1/token";
    cache.set(cachedToken(seconds(0)), config.cacheKey(), "l");
    try {
        service.token(config, Mode::reuse);
        FAIL() << "no transport failure";
    } catch (const OAuth2Error& error) {
        FAIL() << "the transport failure became " << error.what();
    } catch (const Error& error) {
        EXPECT_NE(std::string::npos, std::string(error.what()).find("127.0.0.1")) << error.what();
    }
    EXPECT_EQ(cachedToken(seconds(0)), cache.tokenForKey(config.cacheKey()));
}

TEST_F(OAuth2ServiceTest, AFailedAcquisitionLeavesTheCachedToken) {
    const auto config = clientCredentials();
    cache.set(cachedToken(seconds(0), std::nullopt), config.cacheKey(), "l");
    server.onToken = [](const auto&) {
        return AuthorizationServer::json(401, R"({"error":"invalid_client","error_description":"bad secret"})");
    };
    EXPECT_EQ("OAuth 2 error invalid_client: bad secret (HTTP 401)", failure([&] { service.token(config, Mode::reuse); }));
    EXPECT_EQ(cachedToken(seconds(0), std::nullopt), cache.tokenForKey(config.cacheKey()));
}

TEST_F(OAuth2ServiceTest, GrantsThatNeedAPersonFailWithoutOneUnlessARefreshTokenIsCached) {
    auto config = clientCredentials();
    config.grant = OAuth2Grant::authorizationCode;
    EXPECT_EQ("The Authorization Code grant needs a browser sign-in. Open Tessaline and press Get New Token.",
              failure([&] { service.token(config, Mode::reuse); }));
    config.grant = OAuth2Grant::deviceCode;
    EXPECT_EQ("The Device Code grant needs a browser sign-in. Open Tessaline and press Get New Token.",
              failure([&] { service.token(config, Mode::refresh); }));
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
    try {
        service.token(config, VariableResolver{}, Mode::reuse);
        FAIL() << "no failure";
    } catch (const RequestBuildError& error) {
        EXPECT_EQ("Undefined variables: host, id", std::string(error.what()));
    }
    EXPECT_TRUE(server.tokenRequests().empty());

    const VariableResolver resolver{.scopes = {{{.key = "host", .value = server.url("")}, {.key = "id", .value = "app"}}}};
    EXPECT_EQ("token-1", service.token(config, resolver, Mode::reuse).accessToken);
    const auto request = server.tokenRequests().at(0);
    EXPECT_EQ("grant_type=client_credentials", request.body);
    EXPECT_EQ("Basic " + base64::encode("app:" + server.url("")), request.headers.at("Authorization"));
}

TEST_F(OAuth2ServiceTest, PrepareActsOnOAuth2AuthOnly) {
    EXPECT_FALSE(service.prepare(Auth{.kind = AuthKind::bearer, .token = "t"}, {}, Mode::reuse));
    EXPECT_FALSE(service.prepare(Auth{.kind = AuthKind::inherit}, {}, Mode::reuse));
    EXPECT_EQ("The Authorization Code grant needs a browser sign-in. Open Tessaline and press Get New Token.",
              failure([&] { service.prepare(Auth{.kind = AuthKind::oauth2}, {}, Mode::reuse); }));
    const auto config = clientCredentials();
    const Auth auth{.kind = AuthKind::oauth2,
                    .oauth2 = OAuth2Config{.grant = config.grant, .tokenURL = config.tokenURL, .clientID = "c"}};
    EXPECT_EQ("token-1", service.prepare(auth, {}, Mode::reuse)->accessToken);
}

TEST_F(OAuth2ServiceTest, CallersForOneKeyShareOneAcquisition) {
    const auto [first, second] = twoCallers(Mode::renew, [](int call) {
        return AuthorizationServer::json(200, R"({"access_token":"shared-)" + std::to_string(call) + R"("})");
    });
    EXPECT_EQ("shared-1", first);
    EXPECT_EQ("shared-1", second);
    EXPECT_EQ(1u, server.tokenRequests().size());
}

TEST_F(OAuth2ServiceTest, ASharedFailureReachesEveryCaller) {
    const auto [first, second] =
        twoCallers(Mode::reuse, [](int) { return AuthorizationServer::json(400, R"({"error":"invalid_scope"})"); });
    EXPECT_EQ("OAuth 2 error invalid_scope (HTTP 400)", first);
    EXPECT_EQ("OAuth 2 error invalid_scope (HTTP 400)", second);
    EXPECT_EQ(1u, server.tokenRequests().size());
}

}  // namespace
}  // namespace tessaline
