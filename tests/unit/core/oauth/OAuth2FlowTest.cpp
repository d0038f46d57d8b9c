// The flows run inside the token service, which gives them their token endpoint, clock and person.
#include "core/oauth/AuthorizationCodeFlow.hpp"
#include "core/oauth/DeviceFlow.hpp"

#include "OAuth2ServiceFixture.hpp"
#include "core/oauth/LoopbackReceiver.hpp"
#include "core/oauth/PKCE.hpp"

#include <future>
#include <regex>

namespace tessaline {
namespace {

using namespace std::chrono_literals;

// A published verifier, made of 32 known octets, and its challenge.
TEST(PKCETest, EncodesAKnownVerifierAndItsChallenge) {
    const unsigned char octets[] = {116, 24,  223, 180, 151, 153, 224, 37,  79,  250, 96,  125, 216, 173, 187, 186,
                                    22,  212, 37,  77,  105, 214, 191, 240, 91,  88,  5,   88,  83,  132, 141, 121};
    const auto verifier = pkce::base64URL({reinterpret_cast<const char*>(octets), sizeof octets});
    EXPECT_EQ("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk", verifier);
    EXPECT_EQ("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM", pkce::challenge(verifier));
}

class AuthorizationCodeFlowTest : public OAuth2ServiceFixture {};

TEST_F(AuthorizationCodeFlowTest, ALoopbackSignInCompletesThroughTheReceiver) {
    EXPECT_EQ("token-1", obtain(authorizationCode("http://127.0.0.1/callback")));

    const auto url = std::get<OAuth2BrowserPrompt>(browser.prompts.at(0)).authorizationURL;
    // libcurl writes the escapes of the query it re-assembles in lower case.
    EXPECT_TRUE(std::regex_match(url, std::regex("http://127\\.0\\.0\\.1:[0-9]+/authorize\\?tenant=t&response_type=code&client_id=app&redirect_uri="
                                                 "http%3a%2f%2f127.0.0.1%3a[1-9][0-9]*%2fcallback&state=[-_A-Za-z0-9]{22}&scope=openid%20profile&"
                                                 "code_challenge=[-_A-Za-z0-9]{43}&code_challenge_method=S256&prompt=consent"))) << url;
    EXPECT_EQ(1, browser.dismissals);
    EXPECT_EQ(std::vector{LoopbackReceiver::page(true)}, browser.loopbackPages);
    // The server has checked the code, the redirect URI and the verifier against the challenge.
    const auto exchange = server.requests().at(0).body;
    EXPECT_TRUE(std::regex_match(exchange, std::regex("grant_type=authorization_code&code=code-1&redirect_uri=http%3A%2F%2F127.0.0.1%3A[1-9][0-9]*"
                                                      "%2Fcallback&code_verifier=[-_A-Za-z0-9]{43}&resource=r&client_id=app"))) << exchange;
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
    EXPECT_TRUE(server.requests().empty());
}

// A server may answer in the fragment: what the query lacks is taken from there.
TEST_F(AuthorizationCodeFlowTest, CustomSchemesGoThroughTheInteractionsBrowserAndFixedPortsAreKeptAsWritten) {
    server.onAuthorize = [](const auto& q) { return q.at("redirect_uri") + "?state=" + q.at("state") + "#code=code-1&state=ignored"; };
    EXPECT_EQ("token-1", obtain(authorizationCode("tessaline://oauth/callback")));
    EXPECT_EQ((std::vector<std::pair<std::string, OAuth2RedirectMode>>{
                  {"tessaline://oauth/callback", OAuth2RedirectMode(OAuth2RedirectMode::CustomScheme{"tessaline"})}}),
              browser.signIns);
    EXPECT_TRUE(browser.prompts.empty());

    server.onAuthorize = nullptr;
    const auto port = std::to_string(LoopbackReceiver::start(std::nullopt, "/")->port());  // free once the probe is gone
    EXPECT_EQ("token-2", obtain(authorizationCode("http://localhost:" + port)));
    EXPECT_EQ("http://localhost:" + port, server.requests().at(1).field("redirect_uri"));
}

class DeviceFlowTest : public OAuth2ServiceFixture {};

// Pending polls keep the interval; each slow_down adds five seconds to it for good.
TEST_F(DeviceFlowTest, PollsAtTheIntervalUntilATokenComesAndReadsProviderSpellings) {
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_url":"URI","verification_uri_complete":"U?code=U","interval":"2"})",
                 {"slow_down", "authorization_pending", "slow_down"});
    EXPECT_EQ("device-token", obtain(deviceCode()));
    EXPECT_EQ((std::vector<double>{2, 9, 16, 28}), pollTimes());
    EXPECT_EQ("scope=read&client_id=tv", server.requests("/device").at(0).body);
    EXPECT_EQ((std::vector<OAuth2Prompt>{OAuth2DeviceCode{.userCode = "U", .verificationURI = verify, .verificationURIComplete = "U?code=U",
                                                          .expiresIn = Seconds(900), .interval = Seconds(2)}}),
              browser.prompts);
    EXPECT_EQ(1, browser.dismissals);
}

TEST_F(DeviceFlowTest, TheFlowEndsWhenTheCodeExpiresThePersonCancelsOrTheServerFails) {
    scriptDevice(R"({"device_code":"d","user_code":"U","verification_uri":"URI","expires_in":10,"interval":3})",
                 std::vector<std::string>(10, "authorization_pending"));
    EXPECT_EQ("Timed out waiting for the sign-in to finish.", obtain(deviceCode()));
    EXPECT_EQ((std::vector<double>{3, 6, 9}), pollTimes());
    browser.cancelOnPrompt = true;
    EXPECT_EQ("Sign-in was cancelled.", obtain(deviceCode()));
    EXPECT_EQ(3u, server.requests().size());
    EXPECT_EQ(2, browser.dismissals);
    browser.cancelOnPrompt = false;

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

// Sends raw bytes to the receiver and returns all it answers.
std::string sendRaw(std::uint16_t port, const std::string& request) {
    asio::ip::tcp::iostream stream("127.0.0.1", std::to_string(port));
    stream << request << std::flush;
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string reply(std::string_view status, const std::string& body) {
    return "HTTP/1.1 " + std::string(status) + "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n" + body;
}

// The wait ends when the redirect comes, and one that reports an error gets the failure page.
TEST(LoopbackReceiverTest, StrayRequestsAreTurnedAwayAndTheWaitEndsWithTheRedirectATimeOutOrACancellation) {
    const auto receiver = LoopbackReceiver::start(std::nullopt, "/callback");
    const auto port = receiver->port();
    auto waiting = std::async(std::launch::async, [&] { return receiver->wait(5s); });
    EXPECT_EQ(reply("404 Not Found", "Not found"), sendRaw(port, "GET /favicon.ico HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(reply("404 Not Found", "Not found"), sendRaw(port, "GET /callback/extra?code=x HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(reply("400 Bad Request", "Bad request"), sendRaw(port, "GARBAGE\r\n\r\n"));
    EXPECT_EQ(reply("400 Bad Request", "Bad request"), sendRaw(port, "\r\n"));
    EXPECT_EQ(reply("200 OK", LoopbackReceiver::page(false)), sendRaw(port, "GET /callback?error=access_denied&state=s HTTP/1.1\r\n\r\n"));
    EXPECT_EQ("http://127.0.0.1:" + std::to_string(port) + "/callback?error=access_denied&state=s", waiting.get());
    EXPECT_NE(LoopbackReceiver::page(false), LoopbackReceiver::page(true));

    // A port in use is refused with a hint. The first outcome stays, whatever comes later.
    const auto idle = LoopbackReceiver::start(std::nullopt, "/");
    EXPECT_EQ("Couldn't listen on 127.0.0.1:" + std::to_string(idle->port()) +
                  " for the redirect (Address already in use). Is another app using the port?",
              thrownText<OAuth2Error>([&] { LoopbackReceiver::start(idle->port(), "/"); }));
    EXPECT_EQ("Timed out waiting for the sign-in to finish.", thrownText<OAuth2Error>([&] { idle->wait(50ms); }));
    EXPECT_EQ("Timed out waiting for the sign-in to finish.", thrownText<OAuth2Error>([&] { idle->wait(1s, [] { return true; }); }));

    const auto cancelled = LoopbackReceiver::start(std::nullopt, "/");
    EXPECT_EQ("Sign-in was cancelled.", thrownText<OAuth2Error>([&] { cancelled->wait(30s, [] { return true; }); }));
}

}  // namespace
}  // namespace tessaline
