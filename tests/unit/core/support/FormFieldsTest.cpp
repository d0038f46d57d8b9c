#include "core/support/FormFields.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(FormFieldsTest, EncodesAndDecodesFields) {
    const formFields::Fields fields{{"grant_type", "password"}, {"user name", "a&b=c"}, {"empty", ""}, {"*-._", "~+"}};
    const auto text = formFields::encoded(fields);
    EXPECT_EQ("grant_type=password&user%20name=a%26b%3Dc&empty=&*-._=%7E%2B", text);
    EXPECT_EQ(fields, formFields::decoded(text));
}

TEST(FormFieldsTest, DecodingIsLenient) {
    const formFields::Fields loose{{"a", "1=2"}, {"flag", ""}, {"b", ""}, {"c", "x+y"}};
    EXPECT_EQ(loose, formFields::decoded("&a=1=2&&flag&b=&c=x+y"));
}

}  // namespace
}  // namespace tessaline
