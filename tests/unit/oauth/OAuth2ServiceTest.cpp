#include "oauth/OAuth2Service.hpp"

#include "ThrownText.hpp"
#include "oauth/LoopbackReceiver.hpp"
#include "oauth/PKCE.hpp"
#include "support/Base64.hpp"
#include "support/FormFields.hpp"
#include "support/LocalHTTPServer.hpp"
#include "support/PercentEncoding.hpp"
#include "support/URLComponents.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <future>
#include <regex>

namespace tessaline {
namespace {

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

// An OAuth2Interaction standing in for a person with a browser. Shown an authorization URL,
// it visits it on its own thread, as a browser would, and follows the redirect; asked to sign
// in through its own browser, it visits the URL and returns the redirect's location. It
// records every prompt, and when told to, cancels the prompt instead.
class ScriptedBrowser : public OAuth2Interaction {
public:
    ~ScriptedBrowser() override { joinVisit(); }

    void showPrompt(const OAuth2Prompt& prompt, std::shared_ptr<CancelFlag> cancel) override {
        const std::lock_guard guard(lock);
        prompts.push_back(prompt);
        if (cancelOnPrompt) cancel->set();
        if (const auto* browser = std::get_if<OAuth2BrowserPrompt>(&prompt)) {
            visit = std::thread([this, url = browser->authorizationURL] {
                const auto page = get(get(url).get_header_value("Location"));
                const std::lock_guard visitGuard(lock);
                loopbackPages.push_back(page.body);
            });
        }
    }

    void dismissPrompt() override {
        joinVisit();
        const std::lock_guard guard(lock);
        ++dismissals;
    }

    std::string signIn(const std::string& authorizationURL, const std::string& redirectURI, const OAuth2RedirectMode& mode) override {
        const std::lock_guard guard(lock);
        signIns.push_back({redirectURI, mode});
        return get(authorizationURL).get_header_value("Location");
    }

    // Script, set before the sign-in.
    bool cancelOnPrompt = false;

    // What happened, read after the sign-in.
    std::vector<OAuth2Prompt> prompts;
    int dismissals = 0;
    std::vector<std::pair<std::string, OAuth2RedirectMode>> signIns;
    std::vector<std::string> loopbackPages;  // the loopback receiver's answers, in order

private:
    // Every server the browser meets is on 127.0.0.1; a failed visit is an empty response.
    static httplib::Response get(const std::string& url) {
        const auto parts = URLComponents::parse(url);
        if (!parts) return {};
        const auto query = parts->query();
        const auto result = httplib::Client("127.0.0.1", parts->port().value_or(80)).Get(parts->path() + (query ? "?" + *query : ""));
        return result ? *result : httplib::Response{};
    }

    void joinVisit() {
        if (visit.joinable()) visit.join();
    }

    std::mutex lock;
    std::thread visit;
};

using Mode = OAuth2Service::Mode;
using Seconds = OAuth2Timing::Seconds;
using std::chrono::seconds;

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

// The token service against an authorization server on 127.0.0.1, on a clock that moves only
// when the service sleeps, with a scripted person at the browser.
class OAuth2ServiceTest : public testing::Test {
protected:
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

class AuthorizationCodeFlowTest : public OAuth2ServiceTest {};
class DeviceFlowTest : public OAuth2ServiceTest {};

// Every grant posts its own fields, then the token parameters, then the client: in a Basic
// header when it authenticates that way and has a secret, else as fields. The token is kept.
TEST_F(OAuth2ServiceTest, EachGrantPostsItsFieldsThenTheTokenParametersAndTheClient) {
    scriptDevice(R"({"device_code":"dev-1","user_code":"U","verification_uri":"URI"})", {});
    server.onToken = nullptr;
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
    int issued = 0;
    for (const auto& [config, body, authorization] : cases) {
        EXPECT_EQ("token-" + std::to_string(++issued), obtain(config));
        std::map<std::string, std::string> headers{
            {"Accept", "application/json"}, {"Content-Type", "application/x-www-form-urlencoded"}, {"User-Agent", "Tessaline/1.0"}};
        if (!authorization.empty()) headers["Authorization"] = authorization;
        EXPECT_EQ(body, server.tokenRequests().back().body);
        EXPECT_EQ(headers, server.tokenRequests().back().headers) << body;
    }
    const OAuth2Token first{.accessToken = "token-1", .refreshToken = "refresh-1", .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon};
    EXPECT_EQ((OAuth2TokenCache::Entry{.token = first, .label = "127.0.0.1 · my client"}), cache.allEntries().at(clientCredentials().cacheKey()));
}

TEST_F(OAuth2ServiceTest, ReuseKeepsATokenUntilThirtySecondsBeforeItExpiresThenRefreshesIt) {
    const auto config = clientCredentials();
    const auto key = config.cacheKey();
    cache.set(cachedToken(seconds(31)), key, "l");
    EXPECT_EQ("cached", obtain(config, Mode::reuse));
    EXPECT_TRUE(server.tokenRequests().empty());

    // A server that does not rotate refresh tokens answers without one: the old one stays.
    server.onToken = [](const auto&) { return AuthorizationServer::Reply(200, R"({"access_token":"fresh"})"); };
    cache.set(cachedToken(seconds(29)), key, "l");
    const OAuth2Token fresh{.accessToken = "fresh", .refreshToken = "cached-refresh", .obtainedAt = noon};
    EXPECT_EQ(fresh, service.token(config, Mode::reuse));
    EXPECT_EQ("cached-refresh", server.tokenRequests().at(0).field("refresh_token"));
    EXPECT_EQ(fresh, cache.tokenForKey(key));

    cache.set(cachedToken(seconds(29), std::nullopt), key, "l");
    obtain(config, Mode::reuse);
    // Refresh ignores freshness; renew ignores the refresh token.
    cache.set(cachedToken(seconds(3600)), key, "l");
    obtain(config, Mode::refresh);
    obtain(config, Mode::renew);
    EXPECT_EQ((std::vector<std::string>{"refresh_token", "client_credentials", "refresh_token", "client_credentials"}), grantsPosted());
}

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
    EXPECT_EQ(2u, server.tokenRequests().size());
}

// Before any request: a grant that needs a person fails without one, unless a refresh token
// is cached, and settings naming undefined variables are refused.
TEST_F(OAuth2ServiceTest, GrantsThatNeedAPersonOrUndefinedVariablesFailBeforeAnyRequest) {
    const auto config = deviceCode();
    EXPECT_EQ("The Device Code grant needs a browser sign-in. Open Tessaline and press Get New Token.",
              thrownText([&] { service.token(config, Mode::refresh); }));
    const OAuth2Config undefined{.grant = OAuth2Grant::clientCredentials, .authURL = "{{notUsedByThisGrant}}", .tokenURL = "{{host}}/token",
                                 .clientID = "{{id}}", .clientSecret = "{{host}}"};
    EXPECT_EQ("Undefined variables: host, id", thrownText([&] { service.token(undefined, VariableResolver{}, Mode::reuse); }));
    EXPECT_TRUE(server.tokenRequests().empty());
    cache.set(cachedToken(seconds(0)), config.cacheKey(), "l");
    EXPECT_EQ("token-1", service.token(config, Mode::refresh).accessToken);
}

// Two callers for one key, the second arriving while the token endpoint holds back its answer
// to the first: a second token request arriving meanwhile is a second acquisition.
TEST_F(OAuth2ServiceTest, CallersForOneKeyShareOneAcquisitionAndItsOutcome) {
    const auto config = clientCredentials();
    const std::pair<AuthorizationServer::Reply, std::string> cases[] = {
        {AuthorizationServer::Reply(200, R"({"access_token":"shared"})"), "shared"},
        {AuthorizationServer::Reply(400, R"({"error":"invalid_scope"})"), "OAuth 2 error invalid_scope (HTTP 400)"},
    };
    for (const auto& [reply, outcome] : cases) {
        const auto answer = reply;  // Clang 14 cannot capture a structured binding
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
        const auto call = [&] { return std::async(std::launch::async, [&] { return obtain(config, Mode::reuse, &shared); }); };
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

TEST_F(AuthorizationCodeFlowTest, ALoopbackSignInCompletesThroughTheReceiver) {
    EXPECT_EQ("token-1", obtain(authorizationCode("http://127.0.0.1/callback")));

    const auto query = server.authorizationQueries().at(0);
    // libcurl writes the escapes of the query it re-assembles in lower case.
    EXPECT_TRUE(std::regex_match(query, std::regex("tenant=t&response_type=code&client_id=app&redirect_uri=http%3a%2f%2f127.0.0.1%3a[1-9][0-9]*%2fcallback&state=[-_A-Za-z0-9]{22}&"
                                                   "scope=openid%20profile&code_challenge=[-_A-Za-z0-9]{43}&code_challenge_method=S256&prompt=consent")))
        << query;
    EXPECT_EQ((std::vector<OAuth2Prompt>{OAuth2BrowserPrompt{server.url("/authorize?") + query}}), browser.prompts);
    EXPECT_EQ(1, browser.dismissals);
    EXPECT_EQ(std::vector{LoopbackReceiver::page(true)}, browser.loopbackPages);
    // The server has checked the code, the redirect URI and the verifier against the challenge.
    const auto exchange = server.tokenRequests().at(0).body;
    EXPECT_TRUE(std::regex_match(exchange, std::regex("grant_type=authorization_code&code=code-1&redirect_uri=http%3A%2F%2F127.0.0.1%3A[1-9][0-9]*"
                                                      "%2Fcallback&code_verifier=[-_A-Za-z0-9]{43}&resource=r&client_id=app")))
        << exchange;
}

TEST_F(AuthorizationCodeFlowTest, AFixedPortIsUsedAndTheRedirectURIKeptAsWritten) {
    const auto port = std::to_string(LoopbackReceiver::start(std::nullopt, "/")->port());  // free once the probe is gone
    EXPECT_EQ("token-1", obtain(authorizationCode("http://localhost:" + port)));
    EXPECT_EQ("http://localhost:" + port, server.tokenRequests()[0].field("redirect_uri"));
}

TEST_F(AuthorizationCodeFlowTest, RedirectsThatCarryNoUsableCodeFail) {
    const std::pair<AuthorizationServer::Redirect, std::string> cases[] = {
        {[](const auto& q) { return q.at("redirect_uri") + "?error=access_denied&error_description=Nope&state=" + q.at("state"); },
         "OAuth 2 error access_denied: Nope"},
        {[](const auto& q) { return q.at("redirect_uri") + "?code=c&state=forged"; },
         "The authorization response's state didn't match the request — sign-in was not completed."},
        {[](const auto& q) { return q.at("redirect_uri") + "?code=c"; },
         "The authorization response's state didn't match the request — sign-in was not completed."},
        {[](const auto& q) { return q.at("redirect_uri") + "?state=" + q.at("state"); },
         "Unexpected token response: the redirect carried no authorization code"},
    };
    for (const auto& [redirect, message] : cases) {
        server.onAuthorize = redirect;
        EXPECT_EQ(message, obtain(authorizationCode("http://127.0.0.1/cb")));
    }
    EXPECT_EQ(LoopbackReceiver::page(false), browser.loopbackPages.at(0));
    EXPECT_EQ(LoopbackReceiver::page(true), browser.loopbackPages.at(1));
    auto noHost = authorizationCode("http://127.0.0.1/cb");
    noHost.authURL = "file:///authorize";
    EXPECT_EQ("The authorization URL is missing or invalid.", obtain(noHost));
    EXPECT_TRUE(server.tokenRequests().empty());
}

// A server may answer in the fragment: what the query lacks is taken from there.
TEST_F(AuthorizationCodeFlowTest, CustomSchemeRedirectsGoThroughTheInteractionsBrowser) {
    server.onAuthorize = [](const auto& q) { return q.at("redirect_uri") + "?state=" + q.at("state") + "#code=code-1&state=ignored"; };
    EXPECT_EQ("token-1", obtain(authorizationCode("tessaline://oauth/callback")));
    EXPECT_EQ((std::vector<std::pair<std::string, OAuth2RedirectMode>>{
                  {"tessaline://oauth/callback", OAuth2RedirectMode(OAuth2RedirectMode::CustomScheme{"tessaline"})}}),
              browser.signIns);
    EXPECT_TRUE(browser.prompts.empty());
}

// Pending polls keep the interval; each slow_down adds five seconds to it for good.
TEST_F(DeviceFlowTest, PollsAtTheIntervalUntilATokenComesAndReadsProviderSpellings) {
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_url":"URI","verification_uri_complete":"U?code=U","interval":"2"})",
                 {"slow_down", "authorization_pending", "slow_down"});
    EXPECT_EQ("device-token", obtain(deviceCode()));
    EXPECT_EQ((std::vector<double>{2, 9, 16, 28}), pollTimes());
    EXPECT_EQ("scope=read&client_id=tv", server.deviceRequests().at(0).body);
    EXPECT_EQ((std::vector<OAuth2Prompt>{OAuth2DeviceCode{.userCode = "U", .verificationURI = verify, .verificationURIComplete = "U?code=U",
                                                          .expiresIn = Seconds(900), .interval = Seconds(2)}}),
              browser.prompts);
    EXPECT_EQ(1, browser.dismissals);
}

TEST_F(DeviceFlowTest, TheFlowEndsWhenTheCodeExpiresOrThePersonCancels) {
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_uri":"URI","expires_in":10,"interval":3})",
                 std::vector<std::string>(10, "authorization_pending"));
    EXPECT_EQ("Timed out waiting for the sign-in to finish.", obtain(deviceCode()));
    EXPECT_EQ((std::vector<double>{3, 6, 9}), pollTimes());
    browser.cancelOnPrompt = true;
    EXPECT_EQ("Sign-in was cancelled.", obtain(deviceCode()));
    EXPECT_EQ(3u, server.tokenRequests().size());
    EXPECT_EQ(2, browser.dismissals);
}

TEST_F(DeviceFlowTest, FailuresOfTheDeviceAuthorizationAndThePolls) {
    const std::string incomplete =
        "Unexpected token response: device authorization response is missing device_code, user_code or verification_uri (HTTP 200)";
    scriptDevice(R"({"device_code":"d","verification_uri":"URI"})", {});
    EXPECT_EQ(incomplete, obtain(deviceCode()));
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_uri":"not a URI"})", {});
    EXPECT_EQ(incomplete, obtain(deviceCode()));
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_uri":"URI"})", {"access_denied"});
    EXPECT_EQ("OAuth 2 error access_denied (HTTP 400)", obtain(deviceCode()));
    server.onDevice = [](const auto&) { return AuthorizationServer::Reply(401, R"({"error":"invalid_client","error_description":"unknown"})"); };
    EXPECT_EQ("OAuth 2 error invalid_client: unknown (HTTP 401)", obtain(deviceCode()));
    auto noEndpoint = deviceCode();
    noEndpoint.deviceAuthURL = "";
    EXPECT_EQ("The device authorization URL is missing or invalid.", obtain(noEndpoint));
}

}  // namespace
}  // namespace tessaline
