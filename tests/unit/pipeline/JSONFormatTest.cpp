#include "pipeline/JSONFormat.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace tessaline {
namespace {

using Kind = JSONFormat::TokenKind;
using Token = JSONFormat::Token;

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

TEST(JSONFormatTest, PrettyPrintingPutsOneMemberOnEachLine) {
    EXPECT_EQ("{\n  \"a\": [],\n  \"b\": {}\n}", JSONFormat::prettyPrinted(R"({"a":[],"b":{}})", "  "));
    EXPECT_EQ("[\n\t1,\n\t{\n\t\t\"k\": []\n\t}\n]", JSONFormat::prettyPrinted("[1,{\"k\":[\n]}]", "\t"));
    EXPECT_EQ("[\n  [\n    true\n  ],\n  null\n]", JSONFormat::prettyPrinted("  [ [true] ,\r\n null ]  ", "  "));
}

TEST(JSONFormatTest, TokensCarryTheirLayoutAndKind) {
    const std::vector<Token> expected = {
        {"{\n..", Kind::punctuation}, {"\"k\"", Kind::key},          {":_", Kind::punctuation},
        {"[\n....", Kind::punctuation}, {"1.5", Kind::number},      {",\n....", Kind::punctuation},
        {"true", Kind::literal},       {",\n....", Kind::punctuation}, {"\"s\"", Kind::string},
        {",\n....", Kind::punctuation}, {"nul", Kind::number},      {",\n....", Kind::punctuation},
        {"{}", Kind::punctuation},     {"\n..]", Kind::punctuation}, {",\n..", Kind::punctuation},
        {"\"m\"", Kind::key},          {":_", Kind::punctuation},     {"null", Kind::literal},
        {"\n}", Kind::punctuation},
    };
    EXPECT_EQ(expected, JSONFormat::tokens(R"({"k":[1.5,true,"s",nul,{ }],"m":null})", "..", "\n", "_"));
}

TEST(JSONFormatTest, UnbalancedClosersNeverIndentBelowZero) {
    EXPECT_EQ((std::vector<Token>{{"\n]", Kind::punctuation}, {"\n]", Kind::punctuation}}),
              JSONFormat::tokens("]]", "  ", "\n", " "));
    EXPECT_EQ("\n}\n][\n  1\n]", JSONFormat::prettyPrinted("}][1]", "  "));
    EXPECT_EQ("[\n  [\n    1", JSONFormat::prettyPrinted("[[1", "  "));
}

TEST(JSONFormatTest, StringsAreKeptAsWritten) {
    const std::string escaped = R"({"k\"ey":"va\\\"l\u00e9"})";
    EXPECT_EQ(escaped, JSONFormat::minified(escaped));
    EXPECT_EQ((std::vector<Token>{{"[", Kind::punctuation}, {"\"ab\\\"c, ]", Kind::string}}),
              JSONFormat::tokens("[\"ab\\\"c, ]", "", "", ""));
    EXPECT_EQ("[\"ab\\", JSONFormat::minified("[\"ab\\"));
    EXPECT_EQ("{\n\"a\": \"open", JSONFormat::prettyPrinted("{\"a\":\"open", ""));
}

// After a comma the next string is a key only when the innermost open bracket is a brace.
TEST(JSONFormatTest, KeysAreStringsInKeyPosition) {
    std::vector<Kind> kinds;
    for (const Token& token : JSONFormat::tokens(R"({"a":"b","c":["d","e"],"f":{"g":"h"}})", "", "", "")) {
        if (token.kind == Kind::key || token.kind == Kind::string) kinds.push_back(token.kind);
    }
    EXPECT_EQ((std::vector<Kind>{Kind::key, Kind::string, Kind::key, Kind::string, Kind::string, Kind::key,
                                 Kind::key, Kind::string}),
              kinds);
}

TEST(JSONFormatTest, MinifyingDropsAllLayout) {
    EXPECT_EQ(R"({"a":[1,2],"b":{},"c":"x y"})", JSONFormat::minified("{ \"a\" : [ 1 ,\n 2 ] , \"b\" : {\t} ,\"c\":\"x y\" }"));
    EXPECT_EQ("", JSONFormat::minified(" \r\n\t"));
}

TEST(JSONFormatTest, InvalidUTF8IsRepairedInTokenTexts) {
    EXPECT_EQ("[\"\xEF\xBF\xBD\",1\xEF\xBF\xBD]", JSONFormat::minified("[\"\xFF\",1\xC3]"));
    EXPECT_EQ("{\n\xEF\xBF\xBD\"a\": 1\n}", JSONFormat::prettyPrinted("{\"a\":1}", "\xFF"));
}

TEST(JSONFormatTest, IsValidFollowsTheStrictGrammar) {
    for (const char* valid : {"1", "\"s\"", "null", " [1, {\"a\": -0.5e3}] ", "{}"}) {
        EXPECT_TRUE(JSONFormat::isValid(valid)) << valid;
    }
    for (const char* invalid : {"", " ", "{\"a\":1,}", "[1,]", "01", "1-2e", "'a'", "[1] x", "\"\x01\"", "\"\\q\""}) {
        EXPECT_FALSE(JSONFormat::isValid(invalid)) << invalid;
    }
    EXPECT_FALSE(JSONFormat::isValid(std::string("[1]\0", 4)));
}

// The conformance suite: accept every y_ document, reject every n_ one; formatting a valid
// document keeps it valid and only changes its layout.
TEST(JSONFormatTest, ConformanceSuite) {
    size_t checked = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TESSALINE_TEST_DATA "/json-test-suite/test_parsing")) {
        const std::string name = entry.path().filename().string();
        const std::string json = readFile(entry.path());
        if (name.rfind("n_", 0) == 0) {
            EXPECT_FALSE(JSONFormat::isValid(json)) << name;
            ++checked;
        } else if (name.rfind("y_", 0) == 0) {
            EXPECT_TRUE(JSONFormat::isValid(json)) << name;
            const std::string pretty = JSONFormat::prettyPrinted(json, "  ");
            EXPECT_TRUE(JSONFormat::isValid(pretty)) << name;
            EXPECT_EQ(JSONFormat::minified(json), JSONFormat::minified(pretty)) << name;
            ++checked;
        }
    }
    EXPECT_EQ(188u + 95u, checked);
}

}  // namespace
}  // namespace tessaline
