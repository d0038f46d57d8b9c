#include "pipeline/JSONNumber.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

// Texts on both sides of the inline capacity survive construction, copies and moves.
TEST(JSONNumberTest, KeepsTextsOfEveryLength) {
    for (const std::string& text : {std::string(), std::string("-0.5e+10"), std::string(23, '9'), std::string(24, '9'),
                                   std::string(1000, '1')}) {
        const JSONNumber number(text);
        EXPECT_EQ(text, number.text());
        JSONNumber copy = number;
        EXPECT_EQ(number, copy);
        JSONNumber moved = std::move(copy);
        EXPECT_EQ(text, moved.text());
        copy = moved;
        EXPECT_EQ(text, copy.text());
    }
}

TEST(JSONNumberTest, ComparesByText) {
    EXPECT_EQ(JSONNumber("1.0"), JSONNumber("1.0"));
    EXPECT_NE(JSONNumber("1.0"), JSONNumber("1"));
    EXPECT_NE(JSONNumber(std::string(30, '1')), JSONNumber(std::string(31, '1')));
}

}  // namespace
}  // namespace tessaline
