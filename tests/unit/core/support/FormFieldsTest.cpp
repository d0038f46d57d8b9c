#include "core/support/FormFields.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using formFields::Blank;

TEST(FormFieldsTest, EncodesAndDecodesFields) {
    const formFields::Fields fields{{"grant_type", "password"}, {"user name", "a&b=c"}, {"empty", ""}, {"*-._", "~+"}};
    const auto text = formFields::encoded(fields, Blank::escaped);
    EXPECT_EQ("grant_type=password&user%20name=a%26b%3Dc&empty=&*-._=%7E%2B", text);
    EXPECT_EQ(fields, formFields::decoded(text, Blank::escaped));
}

// A form body spells a blank "+", an OAuth 2 request "%20"; each reads its own back, and a
// "+" that was written as "%2B" stays a "+".
TEST(FormFieldsTest, ABlankIsAPlusOnlyWhereTheCallerSaysSo) {
    const formFields::Fields fields{{"a b", "x y+z"}};
    EXPECT_EQ("a+b=x+y%2Bz", formFields::encoded(fields, Blank::plus));
    EXPECT_EQ("a%20b=x%20y%2Bz", formFields::encoded(fields, Blank::escaped));
    EXPECT_EQ(fields, formFields::decoded("a+b=x+y%2Bz", Blank::plus));
    EXPECT_EQ((formFields::Fields{{"a+b", "x y"}}), formFields::decoded("a+b=x%20y", Blank::escaped));
    EXPECT_EQ("q=a%20b&n=%21", formFields::encoded({{"q", "a b"}, {"n", "!"}}, Blank::escaped, "-._~"));
}

TEST(FormFieldsTest, DecodingIsLenient) {
    const formFields::Fields loose{{"a", "1=2"}, {"flag", ""}, {"b", ""}, {"c", "x+y"}};
    EXPECT_EQ(loose, formFields::decoded("&a=1=2&&flag&b=&c=x+y", Blank::escaped));
}

}  // namespace
}  // namespace tessaline
