#include "core/support/JSONReader.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

// The messages of failed reads, with their paths, are checked where the workspace and the
// history are decoded; these are the reads that succeed, and the edges of integers.
TEST(JSONReaderTest, TypedReadsOfMembersElementsAndNumbers) {
    const auto document = JSONDocument::parse(R"({"a b": " x \" y \\", "n": [1, -2.5e1], "i": 9223372036854775807,
        "f": 2.0, "big": 9223372036854775808, "z": null, "dup": 1, "dup": 2, "flags": [true, 1]})");
    const JSONReader root(document);
    EXPECT_EQ(" x \" y \\", root.member("a b").string());
    EXPECT_EQ((std::vector<double>{1, -25}), root.member("n").array([](const JSONReader& element) { return element.number(); }));
    EXPECT_EQ(9223372036854775807, root.member("i").integer());
    EXPECT_EQ(2, root.member("f").integer());
    EXPECT_EQ(2, root.member("dup").integer());  // the last of repeated keys counts
    EXPECT_FALSE(root.optionalMember("z"));
    EXPECT_FALSE(root.optionalMember("missing"));
    EXPECT_TRUE(root.contains("z"));
    EXPECT_EQ("big: The number is out of range.", thrownText([&] { root.member("big").integer(); }));
    EXPECT_EQ("flags[1]: Expected a boolean but found a number.",
              thrownText([&] { root.member("flags").array([](const JSONReader& element) { return element.boolean(); }); }));
}

}  // namespace
}  // namespace tessaline
