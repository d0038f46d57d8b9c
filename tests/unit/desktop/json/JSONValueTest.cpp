#include "desktop/json/JSONValue.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Object = JSONValue::Object;
using Array = JSONValue::Array;
using Number = JSONValue::Number;

TEST(JSONValueTest, EqualityIsStructuralAndOrdered) {
    const JSONValue ab = Object{{"a", Number{"1"}}, {"b", Array{true}}};
    EXPECT_EQ(ab, (JSONValue(Object{{"a", Number{"1"}}, {"b", Array{true}}})));
    EXPECT_NE(ab, (JSONValue(Object{{"b", Array{true}}, {"a", Number{"1"}}})));  // order matters
    EXPECT_NE(ab, (JSONValue(Object{{"a", Number{"1"}}, {"b", Array{false}}})));
    EXPECT_NE(ab, (JSONValue(Object{{"a", Number{"1"}}, {"c", Array{true}}})));
    EXPECT_NE(ab, (JSONValue(Object{{"a", Number{"1"}}})));
    EXPECT_NE(JSONValue(Number{"1.0"}), JSONValue(Number{"1"}));
    EXPECT_NE(JSONValue(Number{"1"}), JSONValue(std::string("1")));
    EXPECT_NE(JSONValue(Object{}), JSONValue(Array{}));
    EXPECT_NE(JSONValue(Array{nullptr}), JSONValue(Array{false}));
}

// Number texts on both sides of the inline capacity of 23 bytes.
TEST(JSONValueTest, CopiesAreDeepAndIndependent) {
    for (const std::string& text : {std::string(), std::string(23, '9'), std::string(24, '9'), std::string(1000, '1')}) {
        JSONValue original = Object{{"list", Array{Number{text}, Object{{"k", std::string("v")}}}}};
        JSONValue copy = original;
        EXPECT_EQ(original, copy);
        std::get<Object>(copy.storage())[0].key = "changed";
        EXPECT_NE(original, copy);
        EXPECT_EQ("list", std::get<Object>(original.storage())[0].key);
        copy = std::move(original);
        EXPECT_EQ(text, std::get<Number>(std::get<Array>(std::get<Object>(copy.storage())[0].value.storage())[0].storage()).text());
    }
}

TEST(JSONValueTest, AssigningADescendantKeepsItAlive) {
    // The inner array is wrapped: a braced Array holding one Array would copy it instead.
    JSONValue copied = Array{JSONValue(Array{Number{"1"}, Number{"2"}}), nullptr};
    copied = std::get<Array>(copied.storage())[0];
    EXPECT_EQ(JSONValue(Array{Number{"1"}, Number{"2"}}), copied);

    JSONValue moved = Object{{"inner", Array{std::string("kept")}}};
    moved = std::move(std::get<Object>(moved.storage())[0].value);
    EXPECT_EQ(JSONValue(Array{std::string("kept")}), moved);
}

}  // namespace
}  // namespace tessaline
