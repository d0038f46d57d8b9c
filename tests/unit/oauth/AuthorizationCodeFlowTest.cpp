#include "oauth/AuthorizationCodeFlow.hpp"

#include "AuthorizationServer.hpp"
#include "ScriptedBrowser.hpp"
#include "ThrownText.hpp"
#include "oauth/LoopbackReceiver.hpp"
#include "oauth/OAuth2Service.hpp"

#include <gtest/gtest.h>

#include <regex>

namespace tessaline {
namespace {

using Mode = OAuth2Service::Mode;

std::vector<std::string> names(const formFields::Fields& fields) {
    std::vector<std::string> result;
    for (const auto& [name, value] : fields) result.push_back(name);
    return result;
}

class AuthorizationCodeFlowTest : public testing::Test {
protected:
    OAuth2ResolvedConfig config(std::string redirectURI) const {
        return {.grant = OAuth2Grant::authorizationCode,
                .authURL = server.url("/authorize?tenant=t"),
                .tokenURL = server.url("/token"),
                .clientID = "app",
                .scope = "openid profile",
                .redirectURI = std::move(redirectURI),
                .authParams = {{.key = "prompt", .value = "consent"}},
                .tokenParams = {{.key = "resource", .value = "r"}}};
    }

    std::string signIn(const OAuth2ResolvedConfig& configuration) {
        std::string token;
        const auto failure = thrownText([&] { token = service.token(configuration, Mode::renew, &browser).accessToken; });
        return token.empty() ? failure : token;
    }

    AuthorizationServer server;
    ScriptedBrowser browser;
    OAuth2TokenCache cache{std::nullopt};
    OAuth2Service service{cache, OAuth2Timing{.loopbackTimeout = std::chrono::seconds(10)}};
};

TEST_F(AuthorizationCodeFlowTest, ALoopbackSignInCompletesThroughTheReceiver) {
    browser.askForIconFirst = true;
    EXPECT_EQ("token-1", signIn(config("http://127.0.0.1/callback")));

    ASSERT_EQ(1u, server.authorizationQueries().size());
    const AuthorizationServer::Received query{.fields = formFields::decoded(server.authorizationQueries()[0])};
    EXPECT_EQ((std::vector<std::string>{"tenant", "response_type", "client_id", "redirect_uri", "state", "scope",
                                        "code_challenge", "code_challenge_method", "prompt"}),
              names(query.fields));
    EXPECT_EQ("code", query.field("response_type"));
    EXPECT_EQ("openid profile", query.field("scope"));
    EXPECT_EQ("S256", query.field("code_challenge_method"));
    EXPECT_EQ(22u, query.field("state")->size());
    const auto redirectURI = query.field("redirect_uri").value_or("");
    EXPECT_TRUE(std::regex_match(redirectURI, std::regex(R"(http://127\.0\.0\.1:[1-9][0-9]*/callback)"))) << redirectURI;

    // The icon the browser asks for first is not the redirect.
    ASSERT_EQ(2u, browser.loopbackPages.size());
    EXPECT_EQ(404, browser.loopbackPages[0].status);
    EXPECT_EQ(200, browser.loopbackPages[1].status);
    EXPECT_EQ(LoopbackReceiver::page(true), browser.loopbackPages[1].body);
    ASSERT_EQ(1u, browser.prompts.size());
    EXPECT_TRUE(std::get<OAuth2BrowserPrompt>(browser.prompts[0]).authorizationURL.ends_with(server.authorizationQueries()[0]));
    EXPECT_EQ(1, browser.dismissals);

    // The server has checked the code, the redirect URI and the verifier against the challenge.
    const auto exchange = server.tokenRequests().at(0);
    EXPECT_EQ((std::vector<std::string>{"grant_type", "code", "redirect_uri", "code_verifier", "resource", "client_id"}),
              names(exchange.fields));
    EXPECT_EQ(43u, exchange.field("code_verifier")->size());
}

TEST_F(AuthorizationCodeFlowTest, AFixedPortIsUsedAndTheRedirectURIKeptAsWritten) {
    std::uint16_t port = 0;
    {
        const auto probe = LoopbackReceiver::start(std::nullopt, "/");
        port = probe->port();
    }
    const auto redirectURI = "http://localhost:" + std::to_string(port);
    EXPECT_EQ("token-1", signIn(config(redirectURI)));
    EXPECT_EQ(redirectURI, server.tokenRequests()[0].field("redirect_uri"));
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
        EXPECT_EQ(message, signIn(config("http://127.0.0.1/cb")));
    }
    EXPECT_EQ(LoopbackReceiver::page(false), browser.loopbackPages.at(0).body);
    EXPECT_EQ(LoopbackReceiver::page(true), browser.loopbackPages.at(1).body);
    EXPECT_TRUE(server.tokenRequests().empty());
}

// A server may answer in the fragment: what the query lacks is taken from there.
TEST_F(AuthorizationCodeFlowTest, CustomSchemeRedirectsGoThroughTheInteractionsBrowser) {
    server.onAuthorize = [](const auto& q) {
        return q.at("redirect_uri") + "?state=" + q.at("state") + "#code=code-1&state=ignored";
    };
    EXPECT_EQ("token-1", signIn(config("tessaline://oauth/callback")));
    EXPECT_EQ((std::vector<std::pair<std::string, OAuth2RedirectMode>>{
                  {"tessaline://oauth/callback", OAuth2RedirectMode(OAuth2RedirectMode::CustomScheme{"tessaline"})}}),
              browser.signIns);
    EXPECT_TRUE(browser.prompts.empty());
}

TEST_F(AuthorizationCodeFlowTest, TheLoopbackWaitEndsWithTheTimeOutOrTheCancellation) {
    OAuth2Service impatient(cache, OAuth2Timing{.loopbackTimeout = std::chrono::milliseconds(20)});
    browser.followsLinks = false;
    EXPECT_EQ("Timed out waiting for the sign-in to finish.",
              thrownText([&] { impatient.token(config("http://127.0.0.1/cb"), Mode::renew, &browser); }));
    browser.cancelOnPrompt = true;
    EXPECT_EQ("Sign-in was cancelled.", signIn(config("http://127.0.0.1/cb")));
    EXPECT_EQ(2, browser.dismissals);
}

TEST_F(AuthorizationCodeFlowTest, AnAuthorizationURLWithoutHostIsRefused) {
    for (const char* url : {"", "not a url", "file:///authorize"}) {
        auto configuration = config("http://127.0.0.1/cb");
        configuration.authURL = url;
        EXPECT_EQ("The authorization URL is missing or invalid.", signIn(configuration)) << url;
    }
    EXPECT_TRUE(browser.prompts.empty());
}

}  // namespace
}  // namespace tessaline
