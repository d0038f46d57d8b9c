#include "pipeline/JSONValue.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Object = JSONValue::Object;
using Array = JSONValue::Array;
using Number = JSONValue::Number;

// `depth` containers around the leaf, each holding the next. (A braced list would copy the
// tree at each level.)
template <class Container>
JSONValue nested(size_t depth, JSONValue leaf) {
    JSONValue value = std::move(leaf);
    for (size_t i = 0; i < depth; ++i) {
        Container container;
        if constexpr (std::is_same_v<Container, Object>) {
            container.push_back({"k", std::move(value)});
        } else {
            container.push_back(std::move(value));
        }
        value = std::move(container);
    }
    return value;
}

TEST(JSONValueTest, ScalarsHaveLiteralsAndNoChildren) {
    struct Case {
        JSONValue value;
        std::string literal;
    } cases[] = {
        {std::string("a\"b\x1b"), "\"a\\\"b\\u001b\""},
        {Number{"1.50"}, "1.50"},
        {true, "true"},
        {false, "false"},
        {nullptr, "null"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.literal, c.value.literal());
        EXPECT_FALSE(c.value.isContainer());
        EXPECT_EQ(0u, c.value.childCount());
    }
}

TEST(JSONValueTest, ContainersCountChildrenAndHaveNoLiteral) {
    const JSONValue object = Object{{"a", Number{"1"}}, {"a", Number{"2"}}};
    const JSONValue array = Array{true, nullptr, std::string("x")};
    EXPECT_TRUE(object.isContainer());
    EXPECT_EQ(2u, object.childCount());
    EXPECT_TRUE(array.isContainer());
    EXPECT_EQ(3u, array.childCount());
    EXPECT_EQ("", array.literal());
    EXPECT_TRUE(JSONValue(Object{}).isContainer());
}

TEST(JSONValueTest, EqualityIsStructuralAndOrdered) {
    const JSONValue ab = Object{{"a", Number{"1"}}, {"b", Array{true}}};
    EXPECT_EQ(ab, (JSONValue(Object{{"a", Number{"1"}}, {"b", Array{true}}})));
    EXPECT_NE(ab, (JSONValue(Object{{"b", Array{true}}, {"a", Number{"1"}}})));   // order matters
    EXPECT_NE(ab, (JSONValue(Object{{"a", Number{"1"}}, {"b", Array{false}}})));
    EXPECT_NE(ab, (JSONValue(Object{{"a", Number{"1"}}, {"c", Array{true}}})));
    EXPECT_NE(ab, (JSONValue(Object{{"a", Number{"1"}}})));
    EXPECT_NE(JSONValue(Number{"1.0"}), JSONValue(Number{"1"}));
    EXPECT_NE(JSONValue(Number{"1"}), JSONValue(std::string("1")));
    EXPECT_NE(JSONValue(Object{}), JSONValue(Array{}));
    EXPECT_NE(JSONValue(Array{nullptr}), JSONValue(Array{false}));
}

TEST(JSONValueTest, CopiesAreDeepAndIndependent) {
    JSONValue original = Object{{"list", Array{Number{"1"}, Object{{"k", std::string("v")}}}}};
    JSONValue copy = original;
    EXPECT_EQ(original, copy);
    std::get<Object>(copy.storage())[0].key = "changed";
    EXPECT_NE(original, copy);
    EXPECT_EQ("list", std::get<Object>(original.storage())[0].key);
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

// None of these may recurse per level: 100,000 frames would overflow the stack.
TEST(JSONValueTest, DeepTreesCopyCompareAndDestroy) {
    const size_t depth = 100000;
    const JSONValue deep = nested<Array>(depth, Number{"1"});
    JSONValue copy = deep;
    EXPECT_EQ(deep, copy);
    EXPECT_NE(deep, nested<Array>(depth, Number{"2"}));
    EXPECT_NE(deep, nested<Array>(depth - 1, Number{"1"}));

    JSONValue deepObject = nested<Object>(depth, nullptr);
    EXPECT_EQ(deepObject, JSONValue(deepObject));
    copy = std::move(deepObject);
    EXPECT_EQ(depth, [&] {
        size_t levels = 0;
        for (const JSONValue* v = &copy; v->isContainer(); ++levels) v = &std::get<Object>(v->storage())[0].value;
        return levels;
    }());
}

}  // namespace
}  // namespace tessaline
