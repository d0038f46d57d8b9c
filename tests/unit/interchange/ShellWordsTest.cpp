#include "interchange/ShellWords.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Words = std::vector<std::string>;

TEST(ShellWordsTest, GivesTheWordsTheShellWould) {
    const struct {
        const char* text;
        Words words;
    } cases[] = {
        {"curl  -s\t'a b'  \"c d\"", {"curl", "-s", "a b", "c d"}},
        {"curl 'it'\\''s' \"say \\\"hi\\\" \\$HOME \\n\"", {"curl", "it's", "say \"hi\" $HOME \\n"}},
        {"curl a\\ b \\'c", {"curl", "a b", "'c"}},
        {"curl '' \"\" x''y", {"curl", "", "", "xy"}},
        {"curl 'https://x' \\\n  -H 'A: b' \\\r\n  --compressed", {"curl", "https://x", "-H", "A: b", "--compressed"}},
        {"curl \"one\\\ntwo\"", {"curl", "onetwo"}},
        {R"(curl $'a\'b\\c\n\t\x41\101\u00e9\U0001F600\cA\q')", {"curl", "a'b\\c\n\tAA\xC3\xA9\xF0\x9F\x98\x80\x01\\q"}},
        {"curl $\"x y\" $HOME", {"curl", "x y", "$HOME"}},
        {"curl x # a comment 'unclosed\n -v", {"curl", "x", "-v"}},
        {"curl x#y", {"curl", "x#y"}},
        {"curl 'http://x/?a=1&b=2' | jq .", {"curl", "http://x/?a=1&b=2"}},
        {"curl http://x/?a=1&b=2", {"curl", "http://x/?a=1"}},
        {"curl x; echo done", {"curl", "x"}},
        {"curl 'x^y' \\\n -v", {"curl", "x^y", "-v"}},
        {"", {}},
        // What a browser copies for cmd: every value wrapped in ^"...^", inner quotes as ^\^",
        // carets doubled, percent signs before a name character broken up, line breaks of a
        // value written as ^ and two line breaks.
        {"curl ^\"https://x/a?b=1^&c=2^\" ^\n  -H ^\"accept: */*^\" ^\n  --data-raw ^\"^{^\\^\"a^\\^\":^\\^\"x^^y %^20^\\^\"^}^\"",
         {"curl", "https://x/a?b=1&c=2", "-H", "accept: */*", "--data-raw", "{\"a\":\"x^y %20\"}"}},
        {"curl ^\"https://x^\" ^\r\n  --data-raw ^\"line1^\r\n\r\nline2^\"", {"curl", "https://x", "--data-raw", "line1\nline2"}},
        // The older cmd form with plain quotes, inside which cmd leaves carets alone.
        {"curl \"https://x\" ^\n -H \"a: b^c\" --data \"{\\\"k\\\":1}\"", {"curl", "https://x", "-H", "a: b^c", "--data", "{\"k\":1}"}},
        {"curl ^\"a\\\\b^\" \"c\"\"d\" ^\n", {"curl", "a\\\\b", "c\"d"}},
        {"curl x ^", {"curl", "x"}},
    };
    for (const auto& c : cases) EXPECT_EQ(c.words, shellWords::split(c.text)) << c.text;
}

TEST(ShellWordsTest, RejectsQuotesThatAreNeverClosed) {
    for (const char* text : {"curl 'abc", "curl \"abc", "curl $'abc", "curl ^\"x^\" \"abc"}) {
        EXPECT_EQ("The curl command has a quote that is never closed.", thrownText([&] { shellWords::split(text); })) << text;
    }
}

}  // namespace
}  // namespace tessaline
