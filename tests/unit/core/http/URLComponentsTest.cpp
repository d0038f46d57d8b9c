#include "core/http/URLComponents.hpp"

#include <gtest/gtest.h>

#include <utility>

namespace tessaline {
namespace {

std::string textOf(std::string_view url) {
    const auto parsed = URLComponents::parse(url);
    return parsed ? parsed->text().value_or("(no text)") : "(not a URL)";
}

TEST(URLComponentsTest, GivesBackAURLInTheFormLibcurlWritesAsItIs) {
    for (const char* url : {"http://127.0.0.1:8080/items/1?q=a%2Fb&x=~", "https://api.h-test.example/v1/",
                            "http://h.test/a//b?c=d?e/./f", "http://0.0.0.0/", "https://h.test:8443/.well-known/x..y",
                            "http://255.255.255.255:65535/p;q=1,2*'()!$@:"}) {
        EXPECT_EQ(url, textOf(url));
    }
}

// Each of these would come back unchanged if the text were taken for libcurl's own form.
TEST(URLComponentsTest, GivesBackWhatLibcurlRewritesAsLibcurlWritesIt) {
    const std::pair<const char*, const char*> cases[] = {
        {"http://h.test", "http://h.test/"},
        {"HTTP://h.test/", "http://h.test/"},
        {"http://127.1/", "http://127.0.0.1/"},
        {"http://0x7f.0.0.1/", "http://127.0.0.1/"},
        {"http://127.0.0.010/", "http://127.0.0.8/"},
        {"http://h.test:0080/", "http://h.test:80/"},
        {"http://h.test/a/./b/../c", "http://h.test/a/c"},
        {"http://h.test/a/b/..", "http://h.test/a/"},
        {"http://h.test/a?", "http://h.test/a"},
        {"http://h.test/a#", "http://h.test/a"},
        {"http://h.test/a?#", "http://h.test/a"},
    };
    for (const auto& [url, written] : cases) EXPECT_EQ(written, textOf(url)) << url;
}

TEST(URLComponentsTest, ANewQueryAndACopyCarryOverToTheText) {
    auto parsed = URLComponents::parse("http://h.test/p?a=1");
    ASSERT_TRUE(parsed);
    const URLComponents copy = *parsed;
    parsed->setQuery("b=2");
    EXPECT_EQ("http://h.test/p?b=2", parsed->text());
    EXPECT_EQ("http://h.test/p?a=1", copy.text());
    URLComponents assigned = *URLComponents::parse("http://h.test/");
    assigned = *parsed;
    EXPECT_EQ("http://h.test/p?b=2", assigned.text());
}

}  // namespace
}  // namespace tessaline
