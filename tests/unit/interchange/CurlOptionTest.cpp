#include "interchange/CurlOption.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(CurlOptionTest, KnowsWhichOptionsTakeAValue) {
    for (const char* name : {"header", "data-urlencode", "json", "max-time", "proxy", "output", "write-out", "cert",
                             "connect-to", "url-query", "variable"}) {
        EXPECT_TRUE(CurlOption::named(name).takesValue) << name;
    }
    for (const char* name : {"location", "compressed", "insecure", "get", "http2", "no-keepalive", "unknown-thing"}) {
        EXPECT_FALSE(CurlOption::named(name).takesValue) << name;
    }
}

TEST(CurlOptionTest, MapsLettersToTheirLongNames) {
    const std::pair<char, const char*> cases[] = {{'X', "request"}, {'H', "header"}, {'d', "data"}, {'F', "form"},
                                                  {'u', "user"},    {'A', "user-agent"}, {'e', "referer"},
                                                  {'b', "cookie"},  {'G', "get"},    {'I', "head"},   {'L', "location"},
                                                  {'m', "max-time"}, {'k', "insecure"}, {'o', "output"}, {'x', "proxy"}};
    for (const auto& [letter, name] : cases) {
        const auto option = CurlOption::lettered(letter);
        ASSERT_TRUE(option) << letter;
        EXPECT_EQ(name, option->name);
    }
    EXPECT_TRUE(CurlOption::lettered('o')->takesValue);
    EXPECT_FALSE(CurlOption::lettered('s')->takesValue);
    EXPECT_FALSE(CurlOption::lettered('W'));
}

}  // namespace
}  // namespace tessaline
