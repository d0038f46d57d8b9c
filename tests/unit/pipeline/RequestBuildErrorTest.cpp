#include "pipeline/RequestBuildError.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(RequestBuildErrorTest, WritesEachCasesText) {
    const auto invalid = RequestBuildError::invalidURL("https://h:x/");
    EXPECT_STREQ("“https://h:x/” is not a valid URL.", invalid.what());
    EXPECT_EQ(RequestBuildError::Reason(RequestBuildError::InvalidURL{"https://h:x/"}), invalid.reason());

    const auto unresolved = RequestBuildError::unresolvedVariables({"a", "", "host"});
    EXPECT_STREQ("Undefined variables: a, , host", unresolved.what());
    EXPECT_EQ(RequestBuildError::Reason(RequestBuildError::UnresolvedVariables{{"a", "", "host"}}), unresolved.reason());

    EXPECT_STREQ("The request has no URL.", RequestBuildError::emptyURL().what());
    EXPECT_STREQ("Undefined variables: token", RequestBuildError::unresolvedVariables({"token"}).what());
}

}  // namespace
}  // namespace tessaline
