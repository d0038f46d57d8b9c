// The end-to-end tests compare what an imported command sends with what curl sends; these check
// what the wire does not show: the name, body kind and rows a user edits, auth, options, errors.
#include "core/interchange/CurlParser.hpp"
#include "core/interchange/ShellWords.hpp"

#include "TemporaryFolder.hpp"
#include "ThrownText.hpp"

#include <gtest/gtest.h>

#include <fstream>

namespace tessaline {
namespace {

// A parsed request without its ids, spelled out: its name, URL, body kind and raw body, then its
// header rows and form rows.
std::string parsed(const std::string& command) {
    const auto request = CurlParser::parse(command);
    auto text = request.name + " " + request.url + " " + std::string(toString(request.body.kind));
    if (!request.body.raw.empty()) text += " " + request.body.raw;
    for (const auto& row : request.headers) text += " | " + row.key + ": " + row.value;
    for (const auto& row : request.body.form) text += " | " + row.key + "=" + row.value;
    return text;
}

const std::string formType = "Content-Type: application/x-www-form-urlencoded";

TEST(CurlParserTest, InfersMethodBodyKindRowsAuthAndOptionsAsCurlSends) {
    const std::string keyValue = "POST /p https://x/p formURLEncoded k=v | X-A: 1 | k=v";
    const std::pair<std::string, std::string> cases[] = {
        {"curl https://api.example.com/users?page=2", "GET /users https://api.example.com/users?page=2 none"},
        {"curl example.com", "GET / http://example.com none"},
        {"curl -d 'name=Ada&lang=en+GB' https://x/u", "POST /u https://x/u formURLEncoded name=Ada&lang=en+GB | name=Ada | lang=en GB"},
        // Spelled in a way the builder would not spell it: kept as text with curl's type.
        {"curl -d 'q=a%20b' https://x/u", "POST /u https://x/u text q=a%20b | " + formType},
        {"curl -d '{\"a\": 1}' https://x/u", "POST /u https://x/u json {\"a\": 1} | " + formType},
        {"curl -H 'content-type: application/json' -d '{bad' https://x/u", "POST /u https://x/u json {bad | content-type: application/json"},
        {"curl -H 'Content-Type: text/xml' --data-binary '<a/>' https://x/u", "POST /u https://x/u xml <a/> | Content-Type: text/xml"},
        {"curl --json '{\"a\":1}' --json '{\"b\":2}' https://x/u",
         "POST /u https://x/u json {\"a\":1}{\"b\":2} | Content-Type: application/json | Accept: application/json"},
        {"curl -X PUT -d a=1 -d b=2 --data-raw '@x' https://x/u", "PUT /u https://x/u text a=1&b=2&@x | " + formType},
        {"curl --data-urlencode 'q=a b&c' --data-urlencode '=é' --data-urlencode 'x~' https://x/u",
         "POST /u https://x/u text q=a+b%26c&%C3%A9&x~ | " + formType},
        {"curl -d '' https://x/u", "POST /u https://x/u formURLEncoded"},
        // No data option, no body: nothing that would add a Content-Type.
        {"curl -X POST https://x/u", "POST /u https://x/u none"},
        {"curl -X PUT -G -d a=1 https://x/u", "PUT /u https://x/u?a=1 none"},
        {"curl -G -I -d a=1 https://x/s", "HEAD /s https://x/s?a=1 none"},
        {"curl --url-query 'a=x y' --url-query '+b=x y' https://x/s", "GET /s https://x/s?a=x+y&b=x y none"},
        {"curl -H 'X-A:  one two ' -H 'X-Empty;' -H 'Accept:' -H 'bad' -A 'agent/1' -e 'https://ref/;auto' -b 'a=1' -b cookies.txt -b 'b=2' https://x",
         "GET / https://x none | X-A: one two | X-Empty:  | User-Agent: agent/1 | Referer: https://ref/ | Cookie: a=1;b=2"},
        // Every way of writing an option, and options with no meaning for a saved request
        // skipped together with their values.
        {"curl -XPOST -HX-A:1 -dk=v https://x/p", keyValue},
        {"curl --request=POST --header=X-A:1 --data=k=v https://x/p", keyValue},
        {"curl -sSLX POST -H 'X-A: 1' -d k=v --url https://x/p", keyValue},
        {"curl -o /dev/null -w '%{http_code}' -X POST --proxy-header 'P: 1' -H 'X-A: 1' -d k=v https://x/p", keyValue},
    };
    for (const auto& [command, expected] : cases) EXPECT_EQ(expected, parsed(command)) << command;

    const auto basic = CurlParser::parse("curl -u 'ada:pa:ss' -L -m 2.5 --compressed -k https://x");
    EXPECT_EQ((Auth{.kind = AuthKind::basic, .username = "ada", .password = "pa:ss"}), basic.auth);
    EXPECT_TRUE(basic.followRedirects);
    EXPECT_EQ(2.5, basic.timeout);

    const auto bearer = CurlParser::parse("curl --oauth2-bearer tok123 https://x");
    EXPECT_EQ((Auth{.kind = AuthKind::bearer, .token = "tok123"}), bearer.auth);
    EXPECT_FALSE(bearer.followRedirects);
    EXPECT_EQ(30, bearer.timeout);
}

TEST(CurlParserTest, ReadsFilesAsCurlDoes) {
    const TemporaryFolder folder;
    const auto data = (folder / "data.txt").string();
    std::ofstream(data, std::ios::binary) << "a=1\r\nb=2\n";
    std::ofstream(folder / "headers.txt", std::ios::binary) << "X-One: 1\r\n\nX-Two: 2\n";

    EXPECT_EQ("POST /u https://x/u text a=1b=2&a=1\r\nb=2\n&f=a%3D1%0D%0Ab%3D2%0A | " + formType,
              parsed("curl -d @" + data + " --data-binary @" + data + " --data-urlencode f@" + data + " https://x/u"));
    EXPECT_EQ("GET / https://x none | X-One: 1 | X-Two: 2", parsed("curl -H @" + (folder / "headers.txt").string() + " https://x"));
    EXPECT_EQ("POST /f https://x/f multipart | a=b | n=v | q=x;\"y | up=@" + data + " | in=a=1\r\nb=2\n | raw=@<;",
              parsed("curl -F 'a=b;c' -F 'n=v;type=text/foo' -F 'q=\"x;\\\"y\"' -F 'up=@" + data + ";type=text/plain' -F 'in=<" + data +
                     "' --form-string 'raw=@<;' https://x/f"));
}

TEST(CurlParserTest, ExplainsWhatItCannotRead) {
    const TemporaryFolder folder;
    const auto missing = (folder / "missing").string();
    const std::string unclosed = "The curl command has a quote that is never closed.";
    const std::pair<std::string, std::string> cases[] = {
        {"", "Not a curl command: it must start with curl."},
        {"https://x", "Not a curl command: it must start with curl."},
        {"curl -v", "The curl command has no URL."},
        {"curl 'abc", unclosed},
        {"curl \"abc", unclosed},
        {"curl $'abc", unclosed},
        {"curl ^\"x^\" \"abc", unclosed},
        {"curl https://x -H", "The curl option -H needs a value."},
        {"curl https://x --data", "The curl option --data needs a value."},
        {"curl -X PROPFIND https://x", "Unsupported HTTP method “PROPFIND”: use GET, POST, PUT, PATCH, DELETE, HEAD or OPTIONS."},
        {"curl -d @" + missing + " https://x", "Could not read “" + missing + "”: No such file or directory"},
        {"curl --data-binary @/dev/zero https://x", "Could not read “/dev/zero”: Invalid argument"},
        {"curl -F 'f=<" + folder.path.string() + "' https://x", "Could not read “" + folder.path.string() + "”: Invalid argument"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.second, thrownText([&] { CurlParser::parse(c.first); })) << c.first;
}

TEST(ShellWordsTest, GivesTheWordsTheShellWould) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
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
    for (const auto& [text, words] : cases) EXPECT_EQ(words, shellWords::split(text)) << text;
}

}  // namespace
}  // namespace tessaline
