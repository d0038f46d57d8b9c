#include "desktop/editing/RequestDiff.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Kind = requestDiff::Line::Kind;
using Texts = std::vector<std::string>;

// One line per letter.
Texts split(const std::string& letters) {
    Texts lines;
    for (const char c : letters) lines.emplace_back(1, c);
    return lines;
}

// The script written compactly: " a" same, "-b" removed, "+c" added.
std::string render(const std::vector<requestDiff::Line>& lines) {
    std::string text;
    for (const auto& line : lines) text += (line.kind == Kind::same ? " " : line.kind == Kind::removed ? "-" : "+") + line.text;
    return text;
}

TEST(RequestDiffTest, FindsShortestScriptsWithinTheLimit) {
    const struct {
        const char* a;
        const char* b;
        std::size_t limit;
        const char* script;
    } cases[] = {
        {"abc", "abc", 10, " a b c"},
        {"", "abc", 10, "+a+b+c"},
        {"abc", "axc", 10, " a-b+x c"},
        {"abcabba", "cbabac", 10, "-a-b c+b a b-b a+c"},  // the example of Myers' paper
        {"abcd", "acbd", 10, " a-b c+b d"},
        {"aaaa", "aa", 10, " a a-a-a"},
        {"xaby", "xbay", 2, " x-a b+a y"},
        // With fewer edits allowed than needed, the middle is replaced wholesale; the shared
        // ends are kept.
        {"xaby", "xbay", 1, " x-a-b+b+a y"},
        {"s12345e", "s67890e", 10, " s-1-2-3-4-5+6+7+8+9+0 e"},
        {"s12345e", "s67890e", 9, " s-1-2-3-4-5+6+7+8+9+0 e"},
        {"xy", "xy", 0, " x y"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.script, render(requestDiff::diff(split(c.a), split(c.b), c.limit))) << c.a << " -> " << c.b << " within " << c.limit;
}

TEST(RequestDiffTest, FieldsNameWhatChangedInTheWordsOfTheDescription) {
    const APIRequest before{.method = HTTPMethod::get, .url = "/a", .headers = {{.key = "A", .value = "1"}}};
    EXPECT_TRUE(requestDiff::fields(before, before).empty());
    EXPECT_EQ("", requestDiff::summary(before, before));

    auto after = before;
    after.method = HTTPMethod::delete_;
    after.headers.push_back({.key = "X-Debug", .value = "1", .enabled = false});
    after.body = {.kind = BodyKind::formURLEncoded, .raw = "ignored", .form = {{.key = "a", .value = "1"}}};
    after.auth = {.kind = AuthKind::basic, .username = "ann"};
    after.followRedirects = false;
    after.timeout = 12.5;
    std::vector<std::pair<std::string, std::string>> fields;
    for (const auto& field : requestDiff::fields(before, after)) fields.emplace_back(field.name, render(field.lines));
    EXPECT_EQ((std::vector<std::pair<std::string, std::string>>{{"Method", "-GET+DELETE"},
                                                                {"Headers", " A: 1+X-Debug: 1  (off)"},
                                                                {"Body", "-None+Form URL-Encoded+a: 1"},
                                                                {"Auth", "-No Auth+Basic Auth+Username: ann+Password: (empty)"},
                                                                {"Options", "-Follow redirects: On-Timeout: 30 s+Follow redirects: Off+Timeout: 12.5 s"}}),
              fields);
    EXPECT_EQ("Method, Headers, Body, Auth, Options", requestDiff::summary(before, after));
    EXPECT_EQ((Texts{"JSON", "{", "  \"a\": 1", "}"}), requestDiff::body({.kind = BodyKind::json, .raw = "{\n  \"a\": 1\n}"}));
}

}  // namespace
}  // namespace tessaline
