#include "pipeline/JSONParser.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "pipeline/JSONFormat.hpp"

namespace tessaline {
namespace {

using Object = JSONValue::Object;
using Array = JSONValue::Array;
using Number = JSONValue::Number;

const std::string fffd = "\xEF\xBF\xBD";

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

std::string parsedString(std::string_view json) {
    return std::get<std::string>(jsonParser::parse(json).storage());
}

TEST(JSONParserTest, ErrorsNameTheFirstProblemAndItsByteOffset) {
    struct Case {
        std::string input;
        std::ptrdiff_t offset;
        std::string message;
    } cases[] = {
        {"", 0, "unexpected end"},
        {"  ", 2, "unexpected end"},
        {"[", 1, "unexpected end"},
        {"{\"a\":", 5, "unexpected end"},
        {"]", 0, "unexpected character"},
        {"[1,]", 3, "unexpected character"},
        {"{\"a\":}", 5, "unexpected character"},
        {"tru", 0, "expected true"},
        {"[fals]", 1, "expected false"},
        {"nul", 0, "expected null"},
        {"nullx", 4, "trailing characters"},
        {"[1] \n ]", 6, "trailing characters"},
        {"{", 1, "expected key"},
        {"{1:2}", 1, "expected key"},
        {"{\"a\":1,}", 7, "expected key"},
        {"{\"a\" 1}", 5, "expected ':'"},
        {"{\"a\"", 4, "expected ':'"},
        {"{\"a\":1", 6, "unterminated object"},
        {"{\"a\":1 \"b\":2}", 7, "expected ',' or '}'"},
        {"[1", 2, "unterminated array"},
        {"[1 2]", 3, "expected ',' or ']'"},
        {"\"abc", 4, "unterminated string"},
        {"\"ab\\", 4, "unterminated string"},
        {"{\"ab", 4, "unterminated string"},
        {"\"\\u12\"", 3, "bad \\u escape"},
        {"\"\\u12g4\"", 3, "bad \\u escape"},
        {"\"\\u+-12\"", 3, "bad \\u escape"},
        {"\"\\ud83d\\ude0\"", 9, "bad \\u escape"},  // the second escape is read on its own
    };
    for (const auto& c : cases) {
        try {
            jsonParser::parse(c.input);
            ADD_FAILURE() << "accepted: " << c.input;
        } catch (const jsonParser::ParseError& error) {
            EXPECT_EQ(c.offset, error.offset()) << c.input;
            EXPECT_EQ(c.message, error.message()) << c.input;
        }
    }
}

TEST(JSONParserTest, ErrorDescriptionGivesOffsetAndMessage) {
    try {
        jsonParser::parse("{\"a\":1,\"b\":2x}");
        FAIL();
    } catch (const Error& error) {
        EXPECT_STREQ("Invalid JSON at byte 12: expected ',' or '}'", error.what());
    }
}

TEST(JSONParserTest, ObjectsKeepDuplicateMembersInOrder) {
    const JSONValue value = jsonParser::parse(" {\"a\":1,\"b\":[],\"a\":2} ");
    EXPECT_EQ(JSONValue(Object{{"a", Number{"1"}}, {"b", Array{}}, {"a", Number{"2"}}}), value);
    EXPECT_EQ("{\n  \"a\": 1,\n  \"b\": [],\n  \"a\": 2\n}", jsonParser::serialize(value, "  "));
}

TEST(JSONParserTest, NumbersAreAnyRunOfNumberBytesKeptVerbatim) {
    for (const char* number : {"1.50", "1e", "-", "1-2e", "+5", "00", ".", "--", "1E+9"}) {
        EXPECT_EQ(JSONValue(Number{number}), jsonParser::parse(number)) << number;
    }
    EXPECT_EQ(JSONValue(Array{Number{"1.50"}, Number{"-0"}}), jsonParser::parse("[1.50,-0]"));
}

TEST(JSONParserTest, StringEscapes) {
    struct Case {
        std::string json, text;
    } cases[] = {
        {R"("\ud83d\ude00")", "\xF0\x9F\x98\x80"},
        {R"("\uD83D\uDE00!")", "\xF0\x9F\x98\x80!"},
        {R"("\ud83d")", fffd},
        {R"("\ude00x")", fffd + "x"},
        {R"("\ud83d\u0041")", fffd + "A"},  // not a low surrogate: read again on its own
        {R"("\u00e9\u20AC")", "\xC3\xA9\xE2\x82\xAC"},
        {R"("\u+041")", "A"},               // a sign is tolerated by the radix-16 conversion
        {R"("\u-041")", fffd},
        {R"("\u0000")", std::string(1, '\0')},
        {R"("\n\t\r\b\f")", "\n\t\r\b\f"},
        {R"("\"\\\/\q\x")", "\"\\/qx"},
        {"\"raw\x01\ttab\"", "raw\x01\ttab"},
        {"\"caf\xC3\xA9\"", "caf\xC3\xA9"},
        {"\"a\xFF" "b\"", "a" + fffd + "b"},
        {"\"\xC3\\u00e9\"", fffd + "\xC3\xA9"},  // raw bytes and escapes are repaired together
    };
    for (const auto& c : cases) EXPECT_EQ(c.text, parsedString(c.json)) << c.json;
    EXPECT_EQ(JSONValue(Object{{"\xF0\x9F\x98\x80", true}}), jsonParser::parse(R"({"\ud83d\ude00":true})"));
}

TEST(JSONParserTest, KeywordsAndWhitespace) {
    EXPECT_EQ(JSONValue(Array{true, false, nullptr}), jsonParser::parse("\t[ true ,\r\nfalse,null ]\n"));
    EXPECT_EQ(JSONValue(Object{}), jsonParser::parse("{ }"));
}

TEST(JSONParserTest, SerializeIndentsFromTheGivenLevel) {
    const JSONValue value = jsonParser::parse(R"({"a":[1,{}],"b":"x\"y","c":{"d":null}})");
    EXPECT_EQ("{\n"
              "    \"a\": [\n"
              "      1,\n"
              "      {}\n"
              "    ],\n"
              "    \"b\": \"x\\\"y\",\n"
              "    \"c\": {\n"
              "      \"d\": null\n"
              "    }\n"
              "  }",
              jsonParser::serialize(value, "  ", 1));
    EXPECT_EQ("[]", jsonParser::serialize(Array{}, "  ", 3));
    EXPECT_EQ("true", jsonParser::serialize(true, "  "));
}

TEST(JSONParserTest, QuoteEscapesOnlyQuotesBackslashesAndControls) {
    EXPECT_EQ("\"\\u001b\"", jsonParser::quote("\x1b"));
    EXPECT_EQ(R"("a\"b\\c\n\r\t\u0008\u000c\u0000/)" "\x7F" "\xC3\xA9\"",
              jsonParser::quote(std::string("a\"b\\c\n\r\t\b\f\0/\x7F\xC3\xA9", 15)));
    EXPECT_EQ("\"\"", jsonParser::quote(""));
}

TEST(JSONParserTest, DeepNestingParsesSerializesAndComparesWithoutRecursion) {
    const size_t depth = 100000;
    for (const auto& [open, close] : {std::pair<std::string, std::string>{"[", "]"}, {"{\"k\":", "}"}}) {
        std::string json;
        for (size_t i = 0; i < depth; ++i) json += open;
        json += "0";
        for (size_t i = 0; i < depth; ++i) json += close;
        const JSONValue value = jsonParser::parse(json);
        const std::string serialized = jsonParser::serialize(value, "");
        EXPECT_EQ(json, JSONFormat::minified(serialized));
        EXPECT_EQ(value, jsonParser::parse(serialized));
    }
    try {
        jsonParser::parse(std::string(depth, '['));
        FAIL();
    } catch (const jsonParser::ParseError& error) {
        EXPECT_EQ(std::ptrdiff_t(depth), error.offset());
        EXPECT_EQ("unexpected end", error.message());
    }
}

// Every document of the conformance suite that must be accepted parses, and its rendering
// is strict JSON that reads back as the same tree.
TEST(JSONParserTest, AcceptsTheConformanceSuiteAndRendersStrictJSON) {
    size_t accepted = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TESSALINE_TEST_DATA "/json-test-suite/test_parsing")) {
        if (entry.path().filename().string().rfind("y_", 0) != 0) continue;
        const std::string json = readFile(entry.path());
        try {
            const JSONValue value = jsonParser::parse(json);
            const std::string serialized = jsonParser::serialize(value, "  ");
            EXPECT_TRUE(JSONFormat::isValid(serialized)) << entry.path() << "\n" << serialized;
            EXPECT_EQ(value, jsonParser::parse(serialized)) << entry.path();
            ++accepted;
        } catch (const jsonParser::ParseError& error) {
            ADD_FAILURE() << entry.path() << ": " << error.what();
        }
    }
    EXPECT_EQ(95u, accepted);
}

}  // namespace
}  // namespace tessaline
