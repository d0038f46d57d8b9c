#include "core/variables/JSONPath.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace tessaline {
namespace {

using Pieces = std::vector<std::string_view>;

constexpr std::string_view body = R"({
  "token": "a/b", "": "blank key", "yes": true, "none": null,
  "items": [{"id": 7}, {"id": "x"}, {"id": null}],
  "whole": 3.0, "tiny": 1e-7, "big": 1e21, "negative": -2.0, "huge": 12345678901234567890,
  "nested": {"b": 1, "a": [1, 2.5, 4.0, "c/d"]}
})";

// Strings come out bare, everything else as compact JSON with whole numbers written without
// a fraction, as a value chained into a request's text needs them.
TEST(JSONPathTest, FollowsMembersAndIndexes) {
    const std::pair<Pieces, std::optional<std::string>> cases[] = {
        {{"token"}, "a/b"}, {{""}, "blank key"}, {{"yes"}, "true"}, {{"none"}, "null"},
        {{"items", "0", "id"}, "7"}, {{"items", "+1", "id"}, "x"}, {{"items", "0"}, R"({"id":7})"},
        {{"nested"}, R"({"a":[1,2.5,4,"c/d"],"b":1})"},
        {{"whole"}, "3"}, {{"tiny"}, "1e-07"}, {{"big"}, "1e+21"}, {{"negative"}, "-2"}, {{"huge"}, "12345678901234567890"},
        {{"Token"}, std::nullopt},  // keys match exactly
        {{"items", "3"}, std::nullopt}, {{"items", "-1"}, std::nullopt}, {{"items", "1.0"}, std::nullopt},
        {{"items", " 1"}, std::nullopt}, {{"items", "id"}, std::nullopt}, {{"none", "x"}, std::nullopt},
        {{"token", "0"}, std::nullopt},  // no stepping into a string
        {{"items", "0", "id", "x"}, std::nullopt},
    };
    for (const auto& [pieces, value] : cases) EXPECT_EQ(value, jsonPath::extract(pieces, body)) << testing::PrintToString(pieces);
    EXPECT_EQ("20", jsonPath::extract(Pieces{"1"}, "[10, 20]"));
}

TEST(JSONPathTest, WholeNumbersLoseTheirFractionOnlyWhileExact) {
    EXPECT_EQ("0", jsonPath::stringify(-0.0));
    EXPECT_EQ("-4503599627370496", jsonPath::stringify(-4503599627370496.0));
    EXPECT_EQ("9.007199254740992e+15", jsonPath::stringify(9007199254740992.0));  // 2^53: no longer exact
    EXPECT_EQ("0.30000000000000004", jsonPath::stringify(0.1 + 0.2));
}

TEST(JSONPathTest, BodiesThatAreNotJSONGiveNothing) {
    for (const std::string_view text : {"", "not json", "{", R"({"token": "abc"} trailing)", "{'token': 'abc'}",
                                        "{\"token\": \"\xFF\"}"}) {
        EXPECT_EQ(std::nullopt, jsonPath::extract(Pieces{"token"}, text)) << text;
    }
}

TEST(JSONPathTest, DeeplyNestedValuesAreWrittenWithoutRecursion) {
    constexpr std::size_t depth = 100000;
    EXPECT_EQ(std::string(depth - 1, '[') + std::string(depth - 1, ']'),
              jsonPath::extract(Pieces{"0"}, std::string(depth, '[') + std::string(depth, ']')));
}

}  // namespace
}  // namespace tessaline
