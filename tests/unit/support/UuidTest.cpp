#include "support/Uuid.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

namespace tessaline {
namespace {

TEST(UuidTest, RandomUuidsAreVersion4WithTheStandardVariant) {
    std::unordered_set<Uuid> seen;
    for (int i = 0; i < 100; ++i) {
        const auto uuid = Uuid::random();
        const auto text = uuid.text();
        EXPECT_EQ('4', text[14]) << text;
        EXPECT_NE(std::string::npos, std::string("89AB").find(text[19])) << text;
        seen.insert(uuid);
    }
    EXPECT_EQ(100u, seen.size());
}

TEST(UuidTest, TextFormsAndCaseInsensitiveParsing) {
    const auto uuid = Uuid::parse("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
    ASSERT_TRUE(uuid);
    EXPECT_EQ("E621E1F8-C36C-495A-93FC-0C247A3E6E5F", uuid->text());
    EXPECT_EQ("e621e1f8-c36c-495a-93fc-0c247a3e6e5f", uuid->lowercaseText());
    EXPECT_EQ(uuid, Uuid::parse("E621E1F8-c36C-495A-93FC-0C247A3E6E5F"));
    EXPECT_EQ(0x5f, uuid->bytes()[15]);
}

TEST(UuidTest, MalformedTextIsRejected) {
    for (const char* text : {"", "E621E1F8C36C495A93FC0C247A3E6E5F", "E621E1F8-C36C-495A-93FC-0C247A3E6E5",
                             "E621E1F8-C36C-495A-93FC-0C247A3E6E5FF", "E621E1F8-C36C-495A-93FC_0C247A3E6E5F",
                             "G621E1F8-C36C-495A-93FC-0C247A3E6E5F", "{621E1F8-C36C-495A-93FC-0C247A3E6E5}"}) {
        EXPECT_FALSE(Uuid::parse(text)) << text;
    }
}

TEST(UuidTest, NilAndOrdering) {
    EXPECT_EQ("00000000-0000-0000-0000-000000000000", Uuid().text());
    EXPECT_LT(*Uuid::parse("00000000-0000-0000-0000-000000000001"), *Uuid::parse("10000000-0000-0000-0000-000000000000"));
}

}  // namespace
}  // namespace tessaline
