#include "desktop/json/JSONFormat.hpp"

#include "core/support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <filesystem>

namespace tessaline {
namespace {

using Kind = JSONFormat::TokenKind;
using Token = JSONFormat::Token;

TEST(JSONFormatTest, PrettyPrintingPutsOneMemberOnEachLine) {
    EXPECT_EQ("{\n  \"a\": [],\n  \"b\": {}\n}", JSONFormat::prettyPrinted(R"({"a":[],"b":{}})", "  "));
    EXPECT_EQ("[\n\t1,\n\t{\n\t\t\"k\": []\n\t}\n]", JSONFormat::prettyPrinted("[1,{\"k\":[\n]}]", "\t"));
    EXPECT_EQ("[\n  [\n    true\n  ],\n  null\n]", JSONFormat::prettyPrinted("  [ [true] ,\r\n null ]  ", "  "));
    EXPECT_EQ(R"({"a":[1,2],"b":{},"c":"x y"})", JSONFormat::minified("{ \"a\" : [ 1 ,\n 2 ] , \"b\" : {\t} ,\"c\":\"x y\" }"));
}

// After a comma the next string is a key only when the innermost open bracket is a brace.
TEST(JSONFormatTest, TokensCarryTheirLayoutAndKind) {
    const std::vector<Token> expected = {
        {"{\n..", Kind::punctuation},   {"\"k\"", Kind::key},           {":_", Kind::punctuation},
        {"[\n....", Kind::punctuation}, {"1.5", Kind::number},          {",\n....", Kind::punctuation},
        {"\"s\"", Kind::string},        {",\n....", Kind::punctuation}, {"nul", Kind::number},
        {",\n....", Kind::punctuation}, {"{}", Kind::punctuation},      {"\n..]", Kind::punctuation},
        {",\n..", Kind::punctuation},   {"\"m\"", Kind::key},           {":_", Kind::punctuation},
        {"{\n....", Kind::punctuation}, {"\"n\"", Kind::key},           {":_", Kind::punctuation},
        {"true", Kind::literal},        {"\n..}", Kind::punctuation},   {"\n}", Kind::punctuation},
    };
    EXPECT_EQ(expected, JSONFormat::tokens(R"({"k":[1.5,"s",nul,{ }],"m":{"n":true}})", "..", "\n", "_"));
}

// Malformed text is laid out as well as it goes: never below zero indentation, strings kept
// as written even when unterminated, and bad bytes repaired.
TEST(JSONFormatTest, MalformedTextIsLaidOutAsFarAsItGoes) {
    EXPECT_EQ("\n}\n][\n  1\n]", JSONFormat::prettyPrinted("}][1]", "  "));
    EXPECT_EQ("[\n  [\n    1", JSONFormat::prettyPrinted("[[1", "  "));
    EXPECT_EQ(R"({"k\"ey":"va\\\"l\u00e9"})", JSONFormat::minified(R"({ "k\"ey" : "va\\\"l\u00e9" })"));
    EXPECT_EQ((std::vector<Token>{{"[", Kind::punctuation}, {"\"ab\\\"c, ]", Kind::string}}),
              JSONFormat::tokens("[\"ab\\\"c, ]", "", "", ""));
    EXPECT_EQ("[\"ab\\", JSONFormat::minified("[\"ab\\"));
    EXPECT_EQ("[\"\xEF\xBF\xBD\",1\xEF\xBF\xBD]", JSONFormat::minified("[\"\xFF\",1\xC3]"));
    EXPECT_EQ("{\n\xEF\xBF\xBD\"a\": 1\n}", JSONFormat::prettyPrinted("{\"a\":1}", "\xFF"));
}

// The fuzzers hold formatting and the tree to keeping what they read; the validator is held
// to the parsing suite's verdicts here.
TEST(JSONFormatTest, IsValidTakesTheParsingSuitesVerdicts) {
    std::size_t checked = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TESSALINE_TEST_DATA "/json-test-suite/test_parsing")) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with("y_") && !name.starts_with("n_")) continue;
        EXPECT_EQ(name.starts_with("y_"), JSONFormat::isValid(atomicFile::read(entry.path()))) << name;
        ++checked;
    }
    EXPECT_EQ(95u + 188u, checked);
    EXPECT_FALSE(JSONFormat::isValid(std::string("[1]\0", 4)));  // the whole text counts, not up to a NUL
}

}  // namespace
}  // namespace tessaline
