#include "support/CaseInsensitive.hpp"

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

TEST(CaseInsensitiveTest, ContainsAfterLowerCasing) {
    EXPECT_TRUE(caseInsensitive::contains("application/Problem+JSON", "json"));
    EXPECT_TRUE(caseInsensitive::contains("List \xC3\x89VENTS", "\xC3\xA9vents"));  // É, é
    EXPECT_TRUE(caseInsensitive::contains("anything", ""));
    EXPECT_FALSE(caseInsensitive::contains("text/plain", "json"));
    EXPECT_FALSE(caseInsensitive::contains("", "a"));
}

}  // namespace
}  // namespace tessaline
