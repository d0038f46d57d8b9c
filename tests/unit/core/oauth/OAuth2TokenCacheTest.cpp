#include "core/oauth/OAuth2TokenCache.hpp"

#include "TemporaryFolder.hpp"
#include "ThrownText.hpp"
#include "core/oauth/OAuth2Error.hpp"
#include "core/oauth/OAuth2ResponseBody.hpp"
#include "core/support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <fstream>

namespace tessaline {
namespace {

const Date noon = *parseISO8601("2026-01-01T12:00:00Z");

OAuth2Token token(const std::string& access) {
    return {.accessToken = access, .refreshToken = "r-" + access, .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon};
}

class OAuth2TokenCacheTest : public testing::Test {
protected:
    void writeFile(const std::string& text) const {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
    }

    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "nested" / "oauth-tokens.json";
};

TEST_F(OAuth2TokenCacheTest, AMissingFileStartsEmptyAndEveryChangeWritesIt) {
    OAuth2TokenCache cache(file);
    EXPECT_TRUE(cache.allEntries().empty());
    EXPECT_FALSE(std::filesystem::exists(file));
    cache.remove("unknown");
    EXPECT_EQ("{\n  \"tokens\": {},\n  \"version\": 1\n}", atomicFile::read(file));

    cache.set(token("a"), "key1", "auth.example · app");
    // The desktop client reads this file too.
    EXPECT_EQ(nlohmann::json::parse(R"({"tokens": {"key1": {"label": "auth.example · app", "token": {"accessToken": "a",
                  "expiresAt": "2026-01-01T13:00:00Z", "obtainedAt": "2026-01-01T12:00:00Z", "refreshToken": "r-a", "tokenType": "Bearer"}}},
                  "version": 1})"),
              nlohmann::json::parse(atomicFile::read(file)));
    EXPECT_EQ(token("a"), cache.tokenForKey("key1"));
}

TEST_F(OAuth2TokenCacheTest, AFailedWriteKeepsTheEntriesForTheNextOne) {
    std::ofstream(folder / "nested") << "a file where the folder should be";
    OAuth2TokenCache cache(file);
    cache.set(token("a"), "k", "l");
    EXPECT_EQ(token("a"), cache.tokenForKey("k"));
    EXPECT_EQ("Couldn't save OAuth 2 tokens: Could not write “" + file.string() + "”: Not a directory", cache.saveFailure());
    std::filesystem::remove(folder / "nested");
    cache.set(token("b"), "k2", "l");
    EXPECT_FALSE(cache.saveFailure());
    EXPECT_EQ(2u, OAuth2TokenCache(file).allEntries().size());
}

// The desktop client and the server share the file without telling each other.
TEST_F(OAuth2TokenCacheTest, TwoCachesOnOneFileSeeEachOthersWritesADamagedOrIncompleteOneIsEmpty) {
    OAuth2TokenCache desktop(file);
    OAuth2TokenCache server(file);
    desktop.set(token("a"), "k", "l");
    EXPECT_EQ(token("a"), server.tokenForKey("k"));
    server.set(token("b"), "k", "l");
    server.set(token("c"), "k2", "l2");
    EXPECT_EQ(token("b"), desktop.tokenForKey("k"));
    desktop.remove("k");
    EXPECT_EQ((OAuth2TokenCache::Entries{{"k2", {.token = token("c"), .label = "l2"}}}), server.allEntries());

    writeFile("{\"version\": 1, \"tok");
    EXPECT_FALSE(desktop.tokenForKey("k2"));
    writeFile(encodeTokenCacheFile({{"k", {.token = token("z"), .label = "other"}}}));
    EXPECT_EQ((OAuth2TokenCache::Entries{{"k", {.token = token("z"), .label = "other"}}}), desktop.allEntries());
    // Emptying the cache discards what another program wrote without reading it first.
    writeFile(encodeTokenCacheFile({{"x", {.token = token("x"), .label = "x"}}}));
    desktop.removeAll();
    EXPECT_TRUE(OAuth2TokenCache(file).allEntries().empty());

    // Unreadable or incomplete files load as empty.
    const std::string cut = encodeTokenCacheFile({{"k", {.token = token("a"), .label = "l"}}}).substr(0, 40);
    for (const std::string text : {R"({"version": 1, "tokens": {}})", R"({"tokens": {}})", R"({"version": 1})", "not json", cut.c_str(),
                                   R"({"version": 1, "tokens": {"k": {"label": "l"}}})",
                                   R"({"version": 1, "tokens": {"k": {"label": "l", "token": {"accessToken": "a"}}}})"}) {
        writeFile(text);
        EXPECT_TRUE(OAuth2TokenCache(file).allEntries().empty()) << text;
    }
}

OAuth2Token parsed(const std::string& body) { return OAuth2ResponseBody(200, body).token(noon); }

TEST(OAuth2ResponseBodyTest, ReadsJSONAndFormEncodedTokens) {
    EXPECT_EQ((OAuth2Token{.accessToken = "abc", .tokenType = "Bearer", .refreshToken = "r", .idToken = "i",
                           .scope = "read", .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon}),
              parsed(R"({"access_token":"abc","expires_in":"3600","scope":"read","refresh_token":"r","id_token":"i"})"));
    EXPECT_EQ((OAuth2Token{.accessToken = "abc", .tokenType = "bearer", .expiresAt = noon + std::chrono::hours(1), .obtainedAt = noon}),
              parsed("access_token=abc&token_type=bearer&expires_in=3600"));
    EXPECT_EQ((OAuth2Token{.accessToken = "a", .obtainedAt = noon}), parsed(R"({"access_token":"a","expires_in":null,"token_type":7})"));
    EXPECT_EQ(noon + std::chrono::milliseconds(1500), parsed(R"({"access_token":"a","expires_in":1.5})").expiresAt);
    EXPECT_EQ(std::nullopt, parsed(R"({"access_token":"a","expires_in":"7s"})").expiresAt);
}

TEST(OAuth2ResponseBodyTest, FailuresSayWhatTheServerSaid) {
    const std::string page = "<html><body>" + std::string(400, 'x') + "</body></html>";
    const struct {
        long status;
        std::string body;
        std::string error;
    } cases[] = {
        {401, R"({"error":"invalid_client","error_description":"bad secret"})", "OAuth 2 error invalid_client: bad secret (HTTP 401)"},
        {200, R"({"error":"invalid_grant","access_token":"a"})", "OAuth 2 error invalid_grant (HTTP 200)"},
        {400, "error=access_denied&error_description=no+way", "OAuth 2 error access_denied: no+way (HTTP 400)"},
        {502, page, "OAuth 2 error http_502: " + page.substr(0, 300) + " (HTTP 502)"},
        {500, "", "OAuth 2 error http_500 (HTTP 500)"},
        {503, R"({"error":42})", R"(OAuth 2 error http_503: {"error":42} (HTTP 503))"},
        {200, R"({"token_type":"Bearer"})", R"(Unexpected token response: no access_token in {"token_type":"Bearer"})"},
        {200, R"({"access_token":""})", R"(Unexpected token response: no access_token in {"access_token":""})"},
        {204, "", "Unexpected token response: no access_token in "},
        // A multi-byte character cut by the quote's length is shown as a replacement.
        {200, std::string(299, 'a') + "\xC3\xA9tail", "Unexpected token response: no access_token in " + std::string(299, 'a') + "\xEF\xBF\xBD"},
    };
    for (const auto& failure : cases) {
        EXPECT_EQ(failure.error, thrownText<OAuth2Error>([&] { OAuth2ResponseBody(failure.status, failure.body).token(noon); })) << failure.body;
    }
}

}  // namespace
}  // namespace tessaline
