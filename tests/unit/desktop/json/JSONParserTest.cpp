#include "desktop/json/JSONParser.hpp"

#include "ThrownText.hpp"
#include "desktop/json/JSONFormat.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Object = JSONValue::Object;
using Array = JSONValue::Array;
using Number = JSONValue::Number;

const std::string fffd = "\xEF\xBF\xBD";

TEST(JSONParserTest, ErrorsNameTheFirstProblemAndItsByteOffset) {
    const struct {
        std::string input, error;
    } cases[] = {
        {"", "0: unexpected end"}, {"  ", "2: unexpected end"}, {"{\"a\":", "5: unexpected end"},
        {"]", "0: unexpected character"}, {"[1,]", "3: unexpected character"},
        {"tru", "0: expected true"}, {"[fals]", "1: expected false"}, {"nul", "0: expected null"},
        {"nullx", "4: trailing characters"}, {"[1] \n ]", "6: trailing characters"},
        {"{", "1: expected key"}, {"{\"a\":1,}", "7: expected key"}, {"{\"a\" 1}", "5: expected ':'"},
        {"{\"a\":1", "6: unterminated object"}, {"{\"a\":1,\"b\":2x}", "12: expected ',' or '}'"},
        {"[1", "2: unterminated array"}, {"[1 2]", "3: expected ',' or ']'"},
        {"\"ab\\", "4: unterminated string"}, {"{\"ab", "4: unterminated string"},
        {"\"\\u12\"", "3: bad \\u escape"}, {"\"\\u12g4\"", "3: bad \\u escape"},
        {"\"\\ud83d\\ude0\"", "9: bad \\u escape"},  // the second escape is read on its own
    };
    for (const auto& c : cases) {
        EXPECT_EQ("Invalid JSON at byte " + c.error, thrownText<jsonParser::ParseError>([&] { jsonParser::parse(c.input); }));
    }
}

// Duplicate keys in their order, and numbers as any run of number bytes, kept verbatim: the
// display shows the body as it came.
TEST(JSONParserTest, KeepsMembersInOrderAndNumbersAsWritten) {
    const JSONValue value = jsonParser::parse(" {\"a\":1.50,\"b\":[\t1e, -0 ,+5,\r\n00,false],\"a\":{ }} ");
    EXPECT_EQ(JSONValue(Object{{"a", Number{"1.50"}}, {"b", Array{Number{"1e"}, Number{"-0"}, Number{"+5"}, Number{"00"}, false}},
                               {"a", Object{}}}),
              value);
    EXPECT_EQ("{\n  \"a\": 1.50,\n  \"b\": [\n    1e,\n    -0,\n    +5,\n    00,\n    false\n  ],\n  \"a\": {}\n}",
              jsonParser::serialize(value, "  "));
    EXPECT_EQ("[\n      \"x\\\"y\",\n      true,\n      null\n    ]", jsonParser::serialize(jsonParser::parse("[\"x\\\"y\",true,null]"), "  ", 2));
}

TEST(JSONParserTest, StringEscapesAndBadBytes) {
    const std::pair<std::string, std::string> cases[] = {
        {R"("\ud83d\ude00!")", "\xF0\x9F\x98\x80!"},
        {R"("\ud83d")", fffd},
        {R"("\ude00x")", fffd + "x"},
        {R"("\ud83d\u0041")", fffd + "A"},  // not a low surrogate: read again on its own
        {R"("\u00e9\u20AC")", "\xC3\xA9\xE2\x82\xAC"},
        {R"("\u+041")", "A"},  // a sign is tolerated by the radix-16 conversion
        {R"("\u-041")", fffd},
        {R"("\u0000\n\t\r\b\f")", std::string("\0\n\t\r\b\f", 6)},
        {R"("\"\\\/\q\x")", "\"\\/qx"},
        {"\"raw\x01\ttab\"", "raw\x01\ttab"},
        {"\"a\xFF" "b\"", "a" + fffd + "b"},
        {"\"\xC3\\u00e9\"", fffd + "\xC3\xA9"},  // raw bytes and escapes are repaired together
    };
    for (const auto& [json, text] : cases) EXPECT_EQ(JSONValue(text), jsonParser::parse(json)) << json;
    EXPECT_EQ(JSONValue(Object{{"\xF0\x9F\x98\x80", true}}), jsonParser::parse(R"({"\ud83d\ude00":true})"));
}

TEST(JSONParserTest, QuoteEscapesOnlyQuotesBackslashesAndControls) {
    EXPECT_EQ(R"("a\"b\\c\n\r\t\u0008\u000c\u0000\u001b/)" "\x7F" "\xC3\xA9\"",
              jsonParser::quote(std::string("a\"b\\c\n\r\t\b\f\0\x1b/\x7F\xC3\xA9", 16)));
}

// Reading, writing, copying, comparing and destroying a tree each walk it without recursion:
// 100,000 frames would overflow the stack.
TEST(JSONParserTest, DeepNestingNeverRecurses) {
    constexpr std::size_t depth = 100'000;
    for (const auto& [open, close] : {std::pair<std::string, std::string>{"[", "]"}, {"{\"k\":", "}"}}) {
        std::string json;
        for (std::size_t i = 0; i < depth; ++i) json += open;
        json += "0";
        for (std::size_t i = 0; i < depth; ++i) json += close;
        const JSONValue value = jsonParser::parse(json);
        EXPECT_EQ(json, JSONFormat::minified(jsonParser::serialize(value, "")));
        const JSONValue copy = value;
        EXPECT_EQ(value, copy);
        json[json.find('0')] = '1';
        EXPECT_NE(value, jsonParser::parse(json));
    }
    EXPECT_EQ("Invalid JSON at byte 100000: unexpected end",
              thrownText<jsonParser::ParseError>([&] { jsonParser::parse(std::string(depth, '[')); }));
}

}  // namespace
}  // namespace tessaline
