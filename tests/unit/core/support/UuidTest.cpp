#include "core/support/Uuid.hpp"

#include <gtest/gtest.h>

#include <set>

namespace tessaline {
namespace {

TEST(UuidTest, ParsesEitherCaseAndWritesBoth) {
    const auto uuid = Uuid::parse("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
    ASSERT_TRUE(uuid);
    EXPECT_EQ("E621E1F8-C36C-495A-93FC-0C247A3E6E5F", uuid->text());
    EXPECT_EQ("e621e1f8-c36c-495a-93fc-0c247a3e6e5f", uuid->lowercaseText());
    EXPECT_EQ(uuid, Uuid::parse("E621E1F8-c36C-495A-93FC-0C247A3E6E5F"));
}

// Drawn from a pool that is refilled every 1024: none repeats across refills, and each is a
// version 4 UUID of the RFC 4122 variant.
TEST(UuidTest, RandomIdentifiersAreDistinctVersionFour) {
    std::set<Uuid> seen;
    for (int i = 0; i < 2500; ++i) {
        const Uuid uuid = Uuid::random();
        EXPECT_EQ(0x40, uuid.bytes()[6] & 0xF0);
        EXPECT_EQ(0x80, uuid.bytes()[8] & 0xC0);
        seen.insert(uuid);
    }
    EXPECT_EQ(2500U, seen.size());
}

TEST(UuidTest, MalformedTextIsRejected) {
    for (const char* text : {"", "E621E1F8C36C495A93FC0C247A3E6E5F", "E621E1F8-C36C-495A-93FC-0C247A3E6E5",
                             "E621E1F8-C36C-495A-93FC-0C247A3E6E5FF", "E621E1F8-C36C-495A-93FC_0C247A3E6E5F",
                             "G621E1F8-C36C-495A-93FC-0C247A3E6E5F", "{621E1F8-C36C-495A-93FC-0C247A3E6E5}"}) {
        EXPECT_FALSE(Uuid::parse(text)) << text;
    }
}

}  // namespace
}  // namespace tessaline
