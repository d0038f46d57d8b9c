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
    EXPECT_TRUE(caseInsensitive::equal("\xE2\x84\xAA", "K"));  // the Kelvin sign folds to k
    EXPECT_FALSE(caseInsensitive::equal("Accept@", "accept`"));  // only letters have a case
}

}  // namespace
}  // namespace tessaline
