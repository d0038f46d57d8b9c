#include "pipeline/RequestDiff.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Kind = requestDiff::Line::Kind;

std::vector<std::string> split(const std::string& letters) {
    std::vector<std::string> lines;
    for (const char c : letters) lines.emplace_back(1, c);
    return lines;
}

// The script written compactly: " a" same, "-b" removed, "+c" added.
std::string render(const std::vector<requestDiff::Line>& lines) {
    std::string text;
    for (const auto& line : lines) {
        text += line.kind == Kind::same ? ' ' : line.kind == Kind::removed ? '-' : '+';
        text += line.text;
    }
    return text;
}

std::size_t edits(const std::vector<requestDiff::Line>& lines) {
    return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.kind != Kind::same; }));
}

// Both sides must come back out of the script, whatever its shape.
void expectConsistent(const std::vector<std::string>& a, const std::vector<std::string>& b,
                      const std::vector<requestDiff::Line>& lines) {
    std::vector<std::string> oldSide, newSide;
    for (const auto& line : lines) {
        if (line.kind != Kind::added) oldSide.push_back(line.text);
        if (line.kind != Kind::removed) newSide.push_back(line.text);
    }
    EXPECT_EQ(a, oldSide);
    EXPECT_EQ(b, newSide);
}

TEST(RequestDiffTest, MyersFindsShortestScripts) {
    struct Case {
        std::string a, b;
        std::size_t distance;
    } cases[] = {
        {"", "", 0}, {"abc", "abc", 0}, {"", "abc", 3}, {"abc", "", 3}, {"abcabba", "cbabac", 5},
        {"abc", "axc", 2}, {"abcd", "acbd", 2}, {"xaby", "xbay", 2}, {"aaaa", "aa", 2},
    };
    for (const auto& c : cases) {
        const auto lines = requestDiff::diff(split(c.a), split(c.b));
        EXPECT_EQ(c.distance, edits(lines)) << c.a << " -> " << c.b << ": " << render(lines);
        expectConsistent(split(c.a), split(c.b), lines);
    }
}

TEST(RequestDiffTest, KnownScripts) {
    EXPECT_EQ(" a-b+x c", render(requestDiff::diff(split("abc"), split("axc"))));
    // The script of the example in Myers' paper.
    EXPECT_EQ("-a-b c+b a b-b a+c", render(requestDiff::diff(split("abcabba"), split("cbabac"))));
}

TEST(RequestDiffTest, LimitBoundsTheSearchButKeepsSharedEnds) {
    const auto a = split("s12345e"), b = split("s67890e");
    const auto full = requestDiff::diff(a, b, 10);
    EXPECT_EQ(10u, edits(full));
    // The middle needs 10 edits; with fewer allowed it is replaced wholesale, shared ends kept.
    EXPECT_EQ(" s-1-2-3-4-5+6+7+8+9+0 e", render(requestDiff::diff(a, b, 9)));

    const auto c = split("xaby"), d = split("xbay");
    EXPECT_EQ(" x-a b+a y", render(requestDiff::diff(c, d, 2)));
    EXPECT_EQ(" x-a-b+b+a y", render(requestDiff::diff(c, d, 1)));
    EXPECT_EQ(" x y", render(requestDiff::diff(split("xy"), split("xy"), 0)));
    expectConsistent(c, d, requestDiff::diff(c, d, 0));
}

TEST(RequestDiffTest, RowsBodyAndAuthDescriptions) {
    EXPECT_EQ((std::vector<std::string>{"Accept: */*", "X-Debug: 1  (off)"}),
              requestDiff::rows({KeyValue{.key = "Accept", .value = "*/*"}, KeyValue{.key = "X-Debug", .value = "1", .enabled = false}}));
    EXPECT_EQ((std::vector<std::string>{"Form URL-Encoded", "a: 1"}),
              requestDiff::body({.kind = BodyKind::formURLEncoded, .raw = "ignored", .form = {KeyValue{.key = "a", .value = "1"}}}));
    EXPECT_EQ((std::vector<std::string>{"JSON", "{", "  \"a\": 1", "}"}),
              requestDiff::body({.kind = BodyKind::json, .raw = "{\n  \"a\": 1\n}"}));
    EXPECT_EQ((std::vector<std::string>{"Multipart Form"}), requestDiff::body({.kind = BodyKind::multipart}));

    EXPECT_EQ((std::vector<std::string>{"No Auth"}), requestDiff::auth(Auth::none()));
    EXPECT_EQ((std::vector<std::string>{"Inherit from Collection"}), requestDiff::auth({.kind = AuthKind::inherit}));
    EXPECT_EQ((std::vector<std::string>{"Basic Auth", "Username: ann", "Password: (empty)"}),
              requestDiff::auth({.kind = AuthKind::basic, .username = "ann"}));
    EXPECT_EQ((std::vector<std::string>{"Bearer Token", "Token: (empty)"}), requestDiff::auth({.kind = AuthKind::bearer}));
    EXPECT_EQ((std::vector<std::string>{"OAuth 2.0", "Grant: Client Credentials", "Token URL: https://id.test/token",
                                        "Client ID: app", "Scope: (empty)"}),
              requestDiff::auth({.kind = AuthKind::oauth2,
                                 .oauth2 = OAuth2Config{.grant = OAuth2Grant::clientCredentials,
                                                        .tokenURL = "https://id.test/token",
                                                        .clientID = "app"}}));
}

TEST(RequestDiffTest, DescribeWritesMethodUpperCaseAndOptions) {
    const APIRequest request{.name = "Delete user", .method = HTTPMethod::delete_, .url = "/users/1", .followRedirects = false, .timeout = 12.5};
    const auto aspects = requestDiff::describe(request);
    std::vector<std::string> names;
    for (const auto& aspect : aspects) names.push_back(aspect.name);
    EXPECT_EQ((std::vector<std::string>{"Name", "Method", "URL", "Query", "Headers", "Body", "Auth", "Notes", "Options"}), names);
    EXPECT_EQ(std::vector<std::string>{"DELETE"}, aspects[1].lines);
    EXPECT_EQ((std::vector<std::string>{"Follow redirects: Off", "Timeout: 12.5 s"}), aspects.back().lines);
    EXPECT_EQ("Timeout: 30 s", requestDiff::describe(APIRequest{}).back().lines[1]);
}

TEST(RequestDiffTest, FieldsAndSummaryNameWhatChanged) {
    const APIRequest before{.method = HTTPMethod::get, .url = "/a", .headers = {KeyValue{.key = "A", .value = "1"}}};
    auto after = before;
    EXPECT_TRUE(requestDiff::fields(before, after).empty());
    EXPECT_EQ("", requestDiff::summary(before, after));

    after.method = HTTPMethod::patch;
    after.headers.push_back(KeyValue{.key = "B", .value = "2"});
    after.timeout = 5;
    const auto fields = requestDiff::fields(before, after);
    ASSERT_EQ(3u, fields.size());
    EXPECT_EQ("-GET+PATCH", render(fields[0].lines));
    EXPECT_EQ(" A: 1+B: 2", render(fields[1].lines));
    EXPECT_EQ(" Follow redirects: On-Timeout: 30 s+Timeout: 5 s", render(fields[2].lines));
    EXPECT_EQ("Method, Headers, Options", requestDiff::summary(before, after));
}

}  // namespace
}  // namespace tessaline
