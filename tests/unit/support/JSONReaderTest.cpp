#include "support/JSONReader.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(JSONReaderTest, ReadsTypedValuesAndNamesThePathOfEachElement) {
    const auto document = JSONDocument::parse(
        R"({"a b": " x \" y \\", "n": [1, -2.5e1, true], "i": 9223372036854775807, "f": 2.0, "z": null, "dup": 1, "dup": 2})");
    const JSONReader root(document);
    EXPECT_EQ(" x \" y \\", root.member("a b").string());
    EXPECT_EQ((std::vector<std::string>{"n[0]", "n[1]", "n[2]"}), root.member("n").array([](const JSONReader& element) {
        return element.path();
    }));
    EXPECT_EQ(-25.0, JSONReader(JSONDocument::parse("-25e0")).number());
    EXPECT_EQ(9223372036854775807, root.member("i").integer());
    EXPECT_EQ(2, root.member("f").integer());
    EXPECT_EQ(2, root.member("dup").integer());  // the last of repeated keys counts
    EXPECT_FALSE(root.optionalMember("z"));
    EXPECT_FALSE(root.optionalMember("missing"));
    EXPECT_TRUE(root.contains("z"));
}

TEST(JSONReaderTest, FailuresNameThePathAndWhatWasWrong) {
    const auto document = JSONDocument::parse(
        R"({"big": 9223372036854775808, "half": 0.5, "s": "x", "z": null, "i": 1, "list": [{"when": "noon", "data": "Zg="}]})");
    const JSONReader root(document);
    const auto failure = [&root](auto read) { return thrownText<DecodingError>([&] { read(root); }); };
    EXPECT_EQ("big: The number is out of range.", failure([](const JSONReader& r) { r.member("big").integer(); }));
    EXPECT_EQ("half: Expected an integer but found a fraction.", failure([](const JSONReader& r) { r.member("half").integer(); }));
    EXPECT_EQ("s: Expected a boolean but found a string.", failure([](const JSONReader& r) { r.member("s").boolean(); }));
    EXPECT_EQ("z: Expected a string but found null.", failure([](const JSONReader& r) { r.member("z").string(); }));
    EXPECT_EQ("s: Invalid UUID “x”.", failure([](const JSONReader& r) { r.member("s").uuid(); }));
    EXPECT_EQ("i: Expected an object but found a number.", failure([](const JSONReader& r) { r.member("i").member("x"); }));
    const auto itemFailure = [&root](auto read) { return thrownText<DecodingError>([&] { root.member("list").array(read); }); };
    EXPECT_EQ("list[0].gone: Key not found.", itemFailure([](const JSONReader& r) { return r.member("gone").string(); }));
    EXPECT_EQ("list[0].when: Invalid ISO 8601 date “noon”.", itemFailure([](const JSONReader& r) { return r.member("when").date(); }));
    EXPECT_EQ("list[0].data: Invalid Base64 data.", itemFailure([](const JSONReader& r) { return r.member("data").data(); }));
}

}  // namespace
}  // namespace tessaline
