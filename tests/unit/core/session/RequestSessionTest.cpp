#include "core/session/RequestSession.hpp"

#include "TemporaryFolder.hpp"
#include "ThrownText.hpp"
#include "core/support/LocalHTTPServer.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

std::optional<std::string> authorization(const ResolvedRequest& request) {
    for (const auto& [name, value] : request.headers) {
        if (name == "Authorization") return value;
    }
    return std::nullopt;
}

// A store with one collection on a local server, whose requests echo the path and X-Who header
// they were sent with; the token endpoint at /token hands out "abc".
class RequestSessionTest : public testing::Test {
protected:
    void SetUp() override {
        server.http.Get(R"(/.*)", [](const httplib::Request& request, httplib::Response& response) {
            response.set_content(request.path + " " + request.get_header_value("X-Who") + " " +
                                     request.get_header_value("Authorization"),
                                 "text/plain");
        });
        server.http.Post("/token", [](const httplib::Request&, httplib::Response& response) {
            response.set_content(R"({"access_token":"abc","expires_in":3600})", "application/json");
        });
        server.start();
        collection.baseURL = server.url("");
        APIEnvironment environment{.name = "Env", .variables = {{.key = "who", .value = "env"}}};
        store.addEnvironment(environment);
        store.setActiveEnvironment(environment.id);
        store.addCollection(collection);
    }

    APIRequest added(APIRequest request) {
        store.addRequest(request, collection.id, std::nullopt);
        return request;
    }

    TemporaryFolder folder;
    LocalHTTPServer server;
    WorkspaceStore store{folder.path};
    OAuth2Service service{store.oauthTokens()};
    APICollection collection{.name = "Local", .variables = {{.key = "id", .value = "7"}}};
};

TEST_F(RequestSessionTest, ASavedRequestSeesItsCollectionAndTheCallsVariablesAndIsRecorded) {
    const auto request = added({.name = "Item", .url = "/items/{{id}}", .headers = {{.key = "X-Who", .value = "{{who}}"}}});
    RequestSession session(store, request, std::nullopt, {{.key = "who", .value = "call"}});
    session.build();
    EXPECT_EQ(server.url("/items/7"), session.resolved().url);
    const auto response = session.perform();
    EXPECT_EQ("/items/7 call ", response.bodyText());
    EXPECT_FALSE(session.record(store, response).failure);
    ASSERT_EQ(1u, store.responses(request.id).size());
    EXPECT_EQ(response.body, store.responses(request.id).front().body);
}

TEST_F(RequestSessionTest, AOneOffRequestSeesOnlyTheActiveEnvironmentAndIsNeverRecorded) {
    auto collectionVariable = RequestSession::oneOff(store, {.name = "adhoc", .url = server.url("/{{id}}")});
    EXPECT_EQ("Undefined variables: id", thrownText([&] { collectionVariable.build(); }));
    auto session = RequestSession::oneOff(store, {.name = "adhoc", .url = server.url("/{{who}}")});
    session.build();
    const auto response = session.perform();
    EXPECT_EQ("/env  ", response.bodyText());
    EXPECT_FALSE(session.recordsHistory());
    session.record(store, response);
    EXPECT_TRUE(store.responses(session.request().id).empty());
    EXPECT_EQ(std::vector<std::string>(), entries(folder / "history"));
}

TEST_F(RequestSessionTest, AnOAuth2TokenIsObtainedByAuthorizeAndUndefinedSettingsFailThere) {
    const auto withTokenURL = [&](const std::string& url) {
        return added({.name = "Secured " + url,
                      .url = "/secured",
                      .auth = {.kind = AuthKind::oauth2,
                               .oauth2 = OAuth2Config{{.grant = OAuth2Grant::clientCredentials, .tokenURL = url, .clientID = "c"}, {}}}});
    };
    RequestSession undefined(store, withTokenURL("{{tokenHost}}/token"));
    EXPECT_TRUE(undefined.usesOAuth2());
    EXPECT_EQ("Undefined variables: tokenHost", thrownText([&] { undefined.authorize(service); }));

    RequestSession session(store, withTokenURL(server.url("/token")));
    EXPECT_EQ(std::nullopt, authorization(session.resolvedWithCachedToken(store.oauthTokens())));
    session.authorize(service);
    session.build();
    EXPECT_EQ("/secured  Bearer abc", session.perform().bodyText());
    EXPECT_EQ("Bearer abc", authorization(session.resolvedWithCachedToken(store.oauthTokens())));
}

}  // namespace
}  // namespace tessaline
