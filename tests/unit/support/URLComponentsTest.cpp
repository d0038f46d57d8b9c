#include "support/URLComponents.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(URLComponentsTest, TakesAbsoluteURLsApart) {
    const auto url = URLComponents::parse("HTTP://LocalHost:8080/cb?x=1&y=%20#frag");
    ASSERT_TRUE(url);
    EXPECT_EQ("http", url->scheme());
    EXPECT_EQ("LocalHost", url->host());
    EXPECT_EQ(8080, url->port());
    EXPECT_EQ("/cb", url->path());
    EXPECT_EQ("x=1&y=%20", url->query());

    const auto bare = URLComponents::parse("myapp://cb");
    ASSERT_TRUE(bare);
    EXPECT_EQ("myapp", bare->scheme());
    EXPECT_EQ("/", bare->path());
    EXPECT_FALSE(bare->port());
    EXPECT_FALSE(bare->query());
    EXPECT_EQ("[::1]", URLComponents::parse("http://[::1]:5/x")->host());
}

TEST(URLComponentsTest, RefusesWhatIsNoAbsoluteURL) {
    for (const char* text : {"", "/callback", "token", "https://x.example/a b", "{{host}}/token",
                             "http://127.0.0.1:99999/", "https://{{domain}}/authorize"}) {
        EXPECT_FALSE(URLComponents::parse(text)) << text;
    }
}

TEST(URLComponentsTest, ReplacesTheQueryAndCopiesIndependently) {
    auto url = *URLComponents::parse("https://h.example/p?a=1");
    const auto copy = url;
    url.setQuery("a=1&b=%26");
    EXPECT_EQ("https://h.example/p?a=1&b=%26", url.text());
    EXPECT_EQ("https://h.example/p?a=1", copy.text());
    url.setQuery("");
    EXPECT_EQ("https://h.example/p", url.text());
}

TEST(URLComponentsTest, SchemeOfFollowsTheGenericSyntax) {
    EXPECT_EQ("com.example.app", URLComponents::schemeOf("com.Example.App:/callback"));
    EXPECT_EQ("tessaline", URLComponents::schemeOf("tessaline://oauth/callback"));
    EXPECT_EQ("a+b-c", URLComponents::schemeOf("a+b-c:x"));
    for (const char* text : {"", "/x", ":x", "1app://x", "my app://x", "no-colon"}) {
        EXPECT_FALSE(URLComponents::schemeOf(text)) << text;
    }
}

}  // namespace
}  // namespace tessaline
