#include "support/JSONReader.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

std::string parseFailure(std::string_view text) {
    try {
        JSONDocument::parse(text);
    } catch (const DecodingError& error) {
        return error.what();
    }
    ADD_FAILURE() << "parsed: " << text;
    return {};
}

TEST(JSONReaderTest, WhiteSpaceBetweenTokensNeverJoinsThem) {
    EXPECT_EQ("The data is not valid JSON (error at offset 3).", parseFailure("[1 2]"));
    EXPECT_EQ("The data is not valid JSON (error at offset 3).", parseFailure("[tr ue]"));
    EXPECT_EQ("The data is not valid JSON (error at offset 14).", parseFailure("{\n  \"a\": 1,\n  }"));
    EXPECT_EQ("The data is not valid JSON (error at offset 8).", parseFailure("[1, 1e400]"));  // no infinity
    EXPECT_EQ("The data is not valid JSON (error at offset 0).", parseFailure(""));
    EXPECT_EQ("The data is not valid JSON (error at offset 4).", parseFailure(" [] x"));
}

TEST(JSONReaderTest, StringsKeepTheirBlanksAndEscapes) {
    const auto document = JSONDocument::parse(" { \"a b\" : \" x \\\" y \\\\\" , \"n\" : [ 1 , -2.5e1 , true , null ] } ");
    const JSONReader root(document);
    EXPECT_EQ(" x \" y \\", root.member("a b").string());
    const auto numbers = root.member("n");
    std::vector<std::string> kinds;
    numbers.array([&kinds](const JSONReader& element) {
        kinds.push_back(element.path());
        return 0;
    });
    EXPECT_EQ((std::vector<std::string>{"n[0]", "n[1]", "n[2]", "n[3]"}), kinds);
    EXPECT_EQ(-25.0, JSONReader(JSONDocument::parse("-25")).number());
}

TEST(JSONReaderTest, TypedReadsAndTheirFailures) {
    const auto document = JSONDocument::parse(
        R"({"i": 9223372036854775807, "big": 9223372036854775808, "f": 2.0, "half": 0.5, "s": "x", "z": null, "dup": 1, "dup": 2})");
    const JSONReader root(document);
    EXPECT_EQ(9223372036854775807, root.member("i").integer());
    EXPECT_EQ(2, root.member("f").integer());
    EXPECT_EQ(2, root.member("dup").integer());  // the last of repeated keys counts
    EXPECT_FALSE(root.optionalMember("z"));
    EXPECT_FALSE(root.optionalMember("missing"));
    EXPECT_TRUE(root.contains("z"));

    const auto failure = [&root](auto read) {
        try {
            read(root);
        } catch (const DecodingError& error) {
            return std::string(error.what());
        }
        return std::string("no error");
    };
    EXPECT_EQ("big: The number is out of range.", failure([](const JSONReader& r) { r.member("big").integer(); }));
    EXPECT_EQ("half: Expected an integer but found a fraction.", failure([](const JSONReader& r) { r.member("half").integer(); }));
    EXPECT_EQ("s: Expected a boolean but found a string.", failure([](const JSONReader& r) { r.member("s").boolean(); }));
    EXPECT_EQ("z: Expected a string but found null.", failure([](const JSONReader& r) { r.member("z").string(); }));
    EXPECT_EQ("s: Invalid UUID “x”.", failure([](const JSONReader& r) { r.member("s").uuid(); }));
    EXPECT_EQ("i: Expected an object but found a number.", failure([](const JSONReader& r) { r.member("i").member("x"); }));
}

}  // namespace
}  // namespace tessaline
