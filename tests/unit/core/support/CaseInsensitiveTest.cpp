#include "core/support/CaseInsensitive.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(CaseInsensitiveTest, EqualByCaseFolding) {
    EXPECT_TRUE(caseInsensitive::equal("Content-Type", "content-TYPE"));
    EXPECT_TRUE(caseInsensitive::equal("STRASSE", "stra\xC3\x9F" "e"));  // ß folds to ss
    EXPECT_TRUE(caseInsensitive::equal("\xCE\xA3\xCE\x91", "\xCF\x83\xCE\xB1"));  // ΣΑ, σα
    EXPECT_TRUE(caseInsensitive::equal("", ""));
    EXPECT_FALSE(caseInsensitive::equal("X-Rate", "X-Rate.Limit"));
    EXPECT_FALSE(caseInsensitive::equal("a\xFF", "a"));
    EXPECT_TRUE(caseInsensitive::equal("a\xFF", "A\xEF\xBF\xBD"));  // a bad byte counts as U+FFFD
}

}  // namespace
}  // namespace tessaline
