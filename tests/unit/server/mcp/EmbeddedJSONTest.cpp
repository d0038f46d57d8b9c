#include "server/mcp/EmbeddedJSON.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using nlohmann::json;

std::optional<std::string> written(std::string_view text) {
    JSONWriter writer;
    if (!embeddedJSON::write(writer, text)) return std::nullopt;
    return std::move(writer).text();
}

// What a body shows as: written straight from the text, and as the tree that event listings
// embed, both as nlohmann would have read the text.
TEST(EmbeddedJSONTest, WritesTheValueAsTheTreeNlohmannReadsWouldBeWritten) {
    const char* const texts[] = {
        R"({"b":1,"a":{"z":[],"y":{}},"b":2})",  // keys in byte order, the last of a repeated key
        R"({"B":1,"a":2,"\u00e9":3,"_":4})",
        R"([1.0, -0, 0.5, -1.5e3, 1E2, 1e-400, -1e-400, 4.9e-324])",
        R"([9223372036854775807, 9223372036854775808, 18446744073709551615, 18446744073709551616])",
        R"([-9223372036854775808, -9223372036854775809, 123456789012345678901234567890])",
        R"(["\ud83d\ude00 \"quoted\" \\ \/ \b\f\n\r\t \u0000", true, false, null])",
        "\xEF\xBB\xBF {\"after a byte order mark\" : [ ] }\r\n",
        "\"text\"",
        "-7",
    };
    for (const char* text : texts) {
        const json expected = json::parse(text);
        EXPECT_EQ(JSONWriter::write(expected), written(text)) << text;
        const auto tree = embeddedJSON::parsed(text);
        ASSERT_TRUE(tree) << text;
        // dump() tells an integer from a double of the same value, and -0.0 from 0.0.
        EXPECT_EQ(expected.dump(), tree->dump()) << text;
    }
    EXPECT_EQ(R"([
  1,
  0,
  0.5,
  -1500,
  100,
  0,
  0,
  5e-324
])",
              written(texts[2]));
    EXPECT_EQ(R"([
  9223372036854775807,
  9223372036854775808,
  18446744073709551615,
  18446744073709551616
])",
              written(texts[3]));
}

TEST(EmbeddedJSONTest, LeavesAsTextWhatIsNotJSONOrNestsTooDeep) {
    const auto nested = [](std::size_t levels, const char* inner) {
        return std::string(levels, '[') + inner + std::string(levels, ']');
    };
    for (const std::string& text :
         {std::string("{\"a\":"), std::string("[1,]"), std::string("1e400"), std::string("[1] x"), std::string("\"\xC3\""),
          std::string("[\"\\ud800\"]"), std::string("{\"a\" 1}"), std::string(""), std::string("[1]\0", 4),
          nested(257, "1"), nested(258, "")}) {
        EXPECT_EQ(std::nullopt, written(text)) << text;
        EXPECT_EQ(std::nullopt, embeddedJSON::parsed(text)) << text;
    }
    // 256 containers around a value are still written; so is an empty one inside them.
    for (const std::string& text : {nested(256, "1"), nested(257, "")}) {
        EXPECT_TRUE(written(text)) << text.size();
        EXPECT_EQ(json::parse(text), embeddedJSON::parsed(text));
    }
}

}  // namespace
}  // namespace tessaline
