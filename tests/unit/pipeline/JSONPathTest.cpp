#include "pipeline/JSONPath.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace tessaline {
namespace {

using Pieces = std::vector<std::string_view>;

constexpr std::string_view body = R"({
  "token": "abc", "slash": "a/b", "empty": "", "": "blank key", "yes": true, "no": false, "none": null,
  "items": [{"id": 7}, {"id": "x"}, {"id": null}],
  "whole": 3.0, "ratio": 0.1, "tiny": 1e-7, "big": 1e21, "negative": -2, "huge": 12345678901234567890,
  "nested": {"b": 1, "a": [1, 2.5, 4.0, "c/d"]}
})";

TEST(JSONPathTest, FollowsMembersAndIndexes) {
    const struct {
        Pieces pieces;
        std::optional<std::string> value;
    } cases[] = {
        {{"token"}, "abc"},
        {{"slash"}, "a/b"},
        {{"empty"}, ""},
        {{""}, "blank key"},
        {{"yes"}, "true"},
        {{"no"}, "false"},
        {{"none"}, "null"},
        {{"items", "0", "id"}, "7"},
        {{"items", "+1", "id"}, "x"},
        {{"items", "2", "id"}, "null"},
        {{"items", "0"}, R"({"id":7})"},
        {{"nested"}, R"({"a":[1,2.5,4,"c/d"],"b":1})"},
        {{"Token"}, std::nullopt},  // keys match exactly
        {{"missing"}, std::nullopt},
        {{"items", "3"}, std::nullopt},
        {{"items", "5"}, std::nullopt},
        {{"items", "-1"}, std::nullopt},
        {{"items", "1.0"}, std::nullopt},
        {{"items", " 1"}, std::nullopt},
        {{"items", "id"}, std::nullopt},
        {{"token", "0"}, std::nullopt},  // no stepping into a string
        {{"yes", "x"}, std::nullopt},
        {{"none", "x"}, std::nullopt},
        {{"items", "0", "id", "x"}, std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.value, jsonPath::extract(c.pieces, body)) << ::testing::PrintToString(c.pieces);
    }
}

TEST(JSONPathTest, NumbersByTheirShortestText) {
    const struct {
        const char* name;
        const char* text;
    } cases[] = {{"whole", "3"}, {"ratio", "0.1"}, {"tiny", "1e-07"}, {"big", "1e+21"},
                 {"negative", "-2"}, {"huge", "12345678901234567890"}};
    for (const auto& c : cases) EXPECT_EQ(c.text, jsonPath::extract(Pieces{c.name}, body)) << c.name;

    EXPECT_EQ("3", jsonPath::stringify(3.0));
    EXPECT_EQ("0", jsonPath::stringify(-0.0));
    EXPECT_EQ("-4503599627370496", jsonPath::stringify(-4503599627370496.0));
    EXPECT_EQ("9.007199254740992e+15", jsonPath::stringify(9007199254740992.0));  // 2^53: no longer exact
    EXPECT_EQ("0.30000000000000004", jsonPath::stringify(0.1 + 0.2));
}

TEST(JSONPathTest, ArraysAtTheTopLevel) {
    EXPECT_EQ("20", jsonPath::extract(Pieces{"1"}, "[10, 20]"));
    EXPECT_EQ(std::nullopt, jsonPath::extract(Pieces{"2"}, "[10, 20]"));
}

TEST(JSONPathTest, BodiesThatAreNotJSONGiveNothing) {
    for (const std::string_view text : {"", "not json", "{", R"({"token": "abc"} trailing)", "{'token': 'abc'}",
                                        "{\"token\": \"\xFF\"}"}) {
        EXPECT_EQ(std::nullopt, jsonPath::extract(Pieces{"token"}, text)) << text;
    }
}

TEST(JSONPathTest, DeeplyNestedValuesAreWrittenWithoutRecursion) {
    constexpr std::size_t depth = 100000;
    const std::string nested = std::string(depth, '[') + std::string(depth, ']');
    const auto value = jsonPath::extract(Pieces{"0"}, nested);
    ASSERT_TRUE(value);
    EXPECT_EQ(std::string(depth - 1, '[') + std::string(depth - 1, ']'), *value);
}

}  // namespace
}  // namespace tessaline
