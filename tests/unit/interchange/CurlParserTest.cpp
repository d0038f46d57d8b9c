#include "interchange/CurlParser.hpp"

#include "interchange/ImportError.hpp"
#include "support/FileError.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace tessaline {
namespace {

struct Row {
    std::string key;
    std::string value;
    bool operator==(const Row&) const = default;
};

std::vector<Row> rows(const std::vector<KeyValue>& keyValues) {
    std::vector<Row> result;
    for (const auto& row : keyValues) result.push_back({row.key, row.value});
    return result;
}

// What a parsed request says, in a form that a table of cases can spell out.
struct Parsed {
    Parsed(std::string theName, std::string theURL, std::vector<Row> theHeaders = {}, BodyKind theKind = BodyKind::none,
           std::string theRaw = {}, std::vector<Row> theForm = {})
        : name(std::move(theName)), url(std::move(theURL)), headers(std::move(theHeaders)), kind(theKind), raw(std::move(theRaw)),
          form(std::move(theForm)) {}

    std::string name;
    std::string url;
    std::vector<Row> headers;
    BodyKind kind;
    std::string raw;
    std::vector<Row> form;
};

Parsed parsed(std::string_view command) {
    const auto request = CurlParser::parse(command);
    return {request.name, request.url, rows(request.headers), request.body.kind, request.body.raw, rows(request.body.form)};
}

void expectParsed(std::string_view command, const Parsed& expected) {
    SCOPED_TRACE(command);
    const auto actual = parsed(command);
    EXPECT_EQ(expected.name, actual.name);
    EXPECT_EQ(expected.url, actual.url);
    EXPECT_EQ(expected.headers, actual.headers);
    EXPECT_EQ(toString(expected.kind), toString(actual.kind));
    EXPECT_EQ(expected.raw, actual.raw);
    EXPECT_EQ(expected.form, actual.form);
}

const std::string form = "application/x-www-form-urlencoded";

TEST(CurlParserTest, InfersMethodAndBodyKindAsCurlSends) {
    expectParsed("curl https://api.example.com/users?page=2", {"GET /users", "https://api.example.com/users?page=2"});
    expectParsed("curl example.com", {"GET /", "http://example.com"});
    expectParsed("curl -d 'name=Ada&lang=en+GB' https://x/u",
                 {"POST /u", "https://x/u", {}, BodyKind::formURLEncoded, "name=Ada&lang=en+GB", {{"name", "Ada"}, {"lang", "en GB"}}});
    // Spelled in a way the builder would not spell it: kept as text with curl's type.
    expectParsed("curl -d 'q=a%20b' https://x/u", {"POST /u", "https://x/u", {{"Content-Type", form}}, BodyKind::text, "q=a%20b"});
    expectParsed("curl -d '{\"a\": 1}' https://x/u", {"POST /u", "https://x/u", {{"Content-Type", form}}, BodyKind::json, "{\"a\": 1}"});
    expectParsed("curl -H 'content-type: application/json' -d '{bad' https://x/u",
                 {"POST /u", "https://x/u", {{"content-type", "application/json"}}, BodyKind::json, "{bad"});
    expectParsed("curl -H 'Content-Type: text/xml' --data-binary '<a/>' https://x/u",
                 {"POST /u", "https://x/u", {{"Content-Type", "text/xml"}}, BodyKind::xml, "<a/>"});
    expectParsed("curl -H 'Content-Type: text/csv' -d 'a,b' https://x/u",
                 {"POST /u", "https://x/u", {{"Content-Type", "text/csv"}}, BodyKind::text, "a,b"});
    expectParsed("curl --json '{\"a\":1}' --json '{\"b\":2}' https://x/u",
                 {"POST /u", "https://x/u", {{"Content-Type", "application/json"}, {"Accept", "application/json"}}, BodyKind::json,
                  "{\"a\":1}{\"b\":2}"});
    expectParsed("curl -X PUT -d a=1 -d b=2 --data-raw '@x' https://x/u",
                 {"PUT /u", "https://x/u", {{"Content-Type", form}}, BodyKind::text, "a=1&b=2&@x"});
    expectParsed("curl --data-urlencode 'q=a b&c' --data-urlencode '=é' --data-urlencode 'x~' https://x/u",
                 {"POST /u", "https://x/u", {{"Content-Type", form}}, BodyKind::text, "q=a+b%26c&%C3%A9&x~"});
    expectParsed("curl -d '' https://x/u", {"POST /u", "https://x/u", {}, BodyKind::formURLEncoded, ""});
    // No data option, no body: nothing that would add a Content-Type.
    expectParsed("curl -X POST https://x/u", {"POST /u", "https://x/u"});
    expectParsed("curl -X PUT -G -d a=1 https://x/u", {"PUT /u", "https://x/u?a=1"});
}

TEST(CurlParserTest, MovesDataIntoTheQueryForGet) {
    expectParsed("curl -G -d a=1 --data-urlencode 'b=x y' https://x/s?q=1", {"GET /s", "https://x/s?q=1&a=1&b=x+y"});
    expectParsed("curl -G -I -d a=1 https://x/s", {"HEAD /s", "https://x/s?a=1"});
    expectParsed("curl --url-query 'a=x y' --url-query '+b=x y' https://x/s", {"GET /s", "https://x/s?a=x+y&b=x y"});
}

TEST(CurlParserTest, ReadsHeadersAndTheOptionsThatSetThem) {
    expectParsed(
        "curl -H 'X-A:  one two ' -H 'X-Empty;' -H 'Accept:' -H 'bad' -A 'agent/1' -e 'https://ref/;auto' "
        "-b 'a=1' -b cookies.txt -b 'b=2' https://x",
        {"GET /", "https://x", {{"X-A", "one two"}, {"X-Empty", ""}, {"User-Agent", "agent/1"}, {"Referer", "https://ref/"}, {"Cookie", "a=1;b=2"}}});
}

TEST(CurlParserTest, ReadsEveryWayOfWritingAnOption) {
    for (const char* command : {"curl -XPOST -HX-A:1 -dk=v https://x/p", "curl --request=POST --header=X-A:1 --data=k=v https://x/p",
                                "curl -sSLX POST -H 'X-A: 1' -d k=v --url https://x/p",
                                "curl -o /dev/null -w '%{http_code}' -X POST --proxy-header 'P: 1' -H 'X-A: 1' -d k=v https://x/p"}) {
        expectParsed(command, {"POST /p", "https://x/p", {{"X-A", "1"}}, BodyKind::formURLEncoded, "k=v", {{"k", "v"}}});
    }
}

TEST(CurlParserTest, SetsAuthRedirectsAndTimeout) {
    auto request = CurlParser::parse("curl -u 'ada:pa:ss' -L -m 2.5 --compressed -k https://x");
    EXPECT_EQ(AuthKind::basic, request.auth.kind);
    EXPECT_EQ("ada", request.auth.username);
    EXPECT_EQ("pa:ss", request.auth.password);
    EXPECT_TRUE(request.followRedirects);
    EXPECT_EQ(2.5, request.timeout);

    request = CurlParser::parse("curl --oauth2-bearer tok123 https://x");
    EXPECT_EQ(AuthKind::bearer, request.auth.kind);
    EXPECT_EQ("tok123", request.auth.token);
    EXPECT_FALSE(request.followRedirects);
    EXPECT_EQ(30, request.timeout);
}

class CurlParserFiles : public ::testing::Test {
protected:
    void SetUp() override {
        folder = std::filesystem::temp_directory_path() / ("curl-parser-" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "data.txt", std::ios::binary) << "a=1\r\nb=2\n";
        std::ofstream(folder / "headers.txt", std::ios::binary) << "X-One: 1\r\n\nX-Two: 2\n";
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string path(const char* name) const { return (folder / name).string(); }

    std::filesystem::path folder;
};

TEST_F(CurlParserFiles, ReadsFilesAsCurlDoes) {
    const auto data = path("data.txt");
    expectParsed("curl -d @" + data + " --data-binary @" + data + " --data-urlencode f@" + data + " https://x/u",
                 {"POST /u", "https://x/u", {{"Content-Type", form}}, BodyKind::text, "a=1b=2&a=1\r\nb=2\n&f=a%3D1%0D%0Ab%3D2%0A"});
    expectParsed("curl -H @" + path("headers.txt") + " https://x", {"GET /", "https://x", {{"X-One", "1"}, {"X-Two", "2"}}});
    expectParsed("curl -F 'a=b;c' -F 'n=v;type=text/foo' -F 'q=\"x;\\\"y\"' -F 'up=@" + data + ";type=text/plain' -F 'in=<" + data +
                     "' --form-string 'raw=@<;' https://x/f",
                 {"POST /f", "https://x/f", {}, BodyKind::multipart, "",
                  {{"a", "b"}, {"n", "v"}, {"q", "x;\"y"}, {"up", "@" + data}, {"in", "a=1\r\nb=2\n"}, {"raw", "@<;"}}});
}

TEST_F(CurlParserFiles, ReportsAFileItCannotRead) {
    const std::pair<std::string, std::string> cases[] = {
        {"curl -d @" + path("missing") + " https://x", "Could not read “" + path("missing") + "”: No such file or directory"},
        {"curl --data-binary @/dev/zero https://x", "Could not read “/dev/zero”: Invalid argument"},
        {"curl -F 'f=<" + folder.string() + "' https://x", "Could not read “" + folder.string() + "”: Invalid argument"},
    };
    for (const auto& [command, message] : cases) {
        try {
            CurlParser::parse(command);
            ADD_FAILURE() << command;
        } catch (const FileError& error) {
            EXPECT_EQ(message, error.what());
        }
    }
}

TEST(CurlParserTest, ExplainsWhatItCannotRead) {
    const std::pair<const char*, const char*> cases[] = {
        {"wget https://x", "Not a curl command: it must start with curl."},
        {"", "Not a curl command: it must start with curl."},
        {"https://x", "Not a curl command: it must start with curl."},
        {"curl -v", "The curl command has no URL."},
        {"curl https://x -H", "The curl option -H needs a value."},
        {"curl https://x --data", "The curl option --data needs a value."},
        {"curl -X PROPFIND https://x", "Unsupported HTTP method “PROPFIND”: use GET, POST, PUT, PATCH, DELETE, HEAD or OPTIONS."},
        {"curl 'https://x", "The curl command has a quote that is never closed."},
    };
    for (const auto& [command, message] : cases) {
        try {
            CurlParser::parse(command);
            ADD_FAILURE() << command;
        } catch (const ImportError& error) {
            EXPECT_STREQ(message, error.what()) << command;
        }
    }
}

}  // namespace
}  // namespace tessaline
