#include "oauth/AuthorizationCodeFlow.hpp"

#include "OAuth2ServiceFixture.hpp"
#include "oauth/LoopbackReceiver.hpp"

#include <regex>

namespace tessaline {
namespace {

class AuthorizationCodeFlowTest : public OAuth2ServiceFixture {};

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

}  // namespace
}  // namespace tessaline
