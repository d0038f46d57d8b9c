#include "interchange/ShellWords.hpp"

#include "interchange/ImportError.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Words = std::vector<std::string>;

struct SplitCase {
    std::string text;
    Words words;
};

class ShellWordsSplit : public ::testing::TestWithParam<SplitCase> {};

TEST_P(ShellWordsSplit, GivesTheWordsTheShellWould) {
    EXPECT_EQ(GetParam().words, shellWords::split(GetParam().text)) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    POSIX, ShellWordsSplit,
    ::testing::Values(
        SplitCase{"curl  -s\t'a b'  \"c d\"", {"curl", "-s", "a b", "c d"}},
        SplitCase{"curl 'it'\\''s' \"say \\\"hi\\\" \\$HOME \\n\"", {"curl", "it's", "say \"hi\" $HOME \\n"}},
        SplitCase{"curl a\\ b \\'c", {"curl", "a b", "'c"}},
        SplitCase{"curl '' \"\" x''y", {"curl", "", "", "xy"}},
        SplitCase{"curl 'https://x' \\\n  -H 'A: b' \\\r\n  --compressed", {"curl", "https://x", "-H", "A: b", "--compressed"}},
        SplitCase{"curl \"one\\\ntwo\"", {"curl", "onetwo"}},
        SplitCase{R"(curl $'a\'b\\c\n\t\x41\101\u00e9\U0001F600\cA\q')",
                  {"curl", "a'b\\c\n\tAA\xC3\xA9\xF0\x9F\x98\x80\x01\\q"}},
        SplitCase{"curl $\"x y\" $HOME", {"curl", "x y", "$HOME"}},
        SplitCase{"curl x # a comment 'unclosed\n -v", {"curl", "x", "-v"}},
        SplitCase{"curl x#y", {"curl", "x#y"}},
        SplitCase{"curl 'http://x/?a=1&b=2' | jq .", {"curl", "http://x/?a=1&b=2"}},
        SplitCase{"curl http://x/?a=1&b=2", {"curl", "http://x/?a=1"}},
        SplitCase{"curl x; echo done", {"curl", "x"}},
        SplitCase{"", {}}));

INSTANTIATE_TEST_SUITE_P(
    Cmd, ShellWordsSplit,
    ::testing::Values(
        // A browser's cmd copy: every value wrapped in ^"...^", inner quotes as ^\^", carets
        // doubled, percent signs before a name character broken up, line breaks of a value
        // written as ^ and two line breaks.
        SplitCase{"curl ^\"https://x/a?b=1^&c=2^\" ^\n  -H ^\"accept: */*^\" ^\n  --data-raw ^\"^{^\\^\"a^\\^\":^\\^\"x^^y %^20^\\^\"^}^\"",
                  {"curl", "https://x/a?b=1&c=2", "-H", "accept: */*", "--data-raw", "{\"a\":\"x^y %20\"}"}},
        SplitCase{"curl ^\"https://x^\" ^\r\n  --data-raw ^\"line1^\r\n\r\nline2^\"", {"curl", "https://x", "--data-raw", "line1\nline2"}},
        // The older form with plain quotes: inside them cmd leaves carets alone.
        SplitCase{"curl \"https://x\" ^\n -H \"a: b^c\" --data \"{\\\"k\\\":1}\"", {"curl", "https://x", "-H", "a: b^c", "--data", "{\"k\":1}"}},
        SplitCase{"curl ^\"a\\\\b^\" \"c\"\"d\" ^\n", {"curl", "a\\\\b", "c\"d"}}));

TEST(ShellWordsTest, RecognisesTheCmdForm) {
    EXPECT_TRUE(shellWords::isCmdForm("curl ^\"x^\""));
    EXPECT_TRUE(shellWords::isCmdForm("curl \"x\" ^\n -v"));
    EXPECT_TRUE(shellWords::isCmdForm("curl x ^"));
    EXPECT_FALSE(shellWords::isCmdForm("curl 'x^y' \\\n -v"));
}

TEST(ShellWordsTest, RejectsQuotesThatAreNeverClosed) {
    for (const char* text : {"curl 'abc", "curl \"abc", "curl $'abc", "curl ^\"x^\" \"abc"}) {
        try {
            shellWords::split(text);
            ADD_FAILURE() << text;
        } catch (const ImportError& error) {
            EXPECT_STREQ("The curl command has a quote that is never closed.", error.what());
        }
    }
}

}  // namespace
}  // namespace tessaline
