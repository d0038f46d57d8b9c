#include "oauth/OAuth2TokenCache.hpp"

#include "TemporaryFolder.hpp"
#include "support/AtomicFile.hpp"

#include <gtest/gtest.h>

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
    EXPECT_EQ(R"({
  "tokens": {
    "key1": {
      "label": "auth.example · app",
      "token": {
        "accessToken": "a",
        "expiresAt": "2026-01-01T13:00:00Z",
        "obtainedAt": "2026-01-01T12:00:00Z",
        "refreshToken": "r-a",
        "tokenType": "Bearer"
      }
    }
  },
  "version": 1
})",
              atomicFile::read(file));
    EXPECT_EQ(token("a"), cache.tokenForKey("key1"));
    EXPECT_FALSE(cache.tokenForKey("other"));
}

TEST_F(OAuth2TokenCacheTest, UnreadableOrIncompleteFilesLoadAsEmpty) {
    const std::string valid = encodeTokenCacheFile({{"k", {.token = token("a"), .label = "l"}}});
    const std::string cut = valid.substr(0, 40);
    for (const std::string text : {R"({"version": 1, "tokens": {}})", R"({"tokens": {}})", R"({"version": 1})", "not json", cut.c_str(),
                                   R"({"version": 1, "tokens": {"k": {"label": "l"}}})",
                                   R"({"version": 1, "tokens": {"k": {"label": "l", "token": {"accessToken": "a"}}}})"}) {
        writeFile(text);
        EXPECT_TRUE(OAuth2TokenCache(file).allEntries().empty()) << text;
    }
    writeFile(valid);
    EXPECT_EQ(1u, OAuth2TokenCache(file).allEntries().size());
}

// The desktop client and the server share the file without telling each other.
TEST_F(OAuth2TokenCacheTest, TwoCachesOnOneFileSeeEachOthersWritesADamagedOneEmpties) {
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

}  // namespace
}  // namespace tessaline
