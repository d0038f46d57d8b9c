#include "core/support/JSONWriter.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace tessaline {
namespace {

// A tree is written through the same calls that stream the files' records.
TEST(JSONWriterTest, PrettySortedWithPlainSlashesAndOnlyTheEscapesJSONNeeds) {
    const auto value = nlohmann::json::parse(R"({"zeta": "a/b", "Alpha": [1, -3, null, []], "beta": {}, "é": true})");
    EXPECT_EQ("{\n  \"Alpha\": [\n    1,\n    -3,\n    null,\n    []\n  ],\n  \"beta\": {},\n  \"zeta\": \"a/b\",\n  \"\xC3\xA9\": true\n}",
              JSONWriter::write(value));
    EXPECT_EQ(R"("q\" b\\ n\n t\t r\r b\b f\f c\u0001 s/ \u001f é)" "\x7F\"",
              JSONWriter::write("q\" b\\ n\n t\t r\r b\b f\f c\x01 s/ \x1f \xC3\xA9\x7F"));
    EXPECT_EQ("\"a\xEF\xBF\xBD\"", JSONWriter::write("a\xFF"));
}

TEST(JSONWriterTest, NumbersByTheirShortestText) {
    const std::pair<double, const char*> cases[] = {{30.0, "30"}, {-2.0, "-2"}, {0.1, "0.1"}, {12.5, "12.5"},
                                                    {1e-7, "1e-07"}, {-0.0, "0"}, {1.0 / 3, "0.3333333333333333"}};
    for (const auto& [number, text] : cases) EXPECT_EQ(text, JSONWriter::write(number)) << number;
    EXPECT_EQ("The number inf cannot be written as JSON.",
              thrownText([] { JSONWriter::write(nlohmann::json{{"t", std::numeric_limits<double>::infinity()}}); }));
}

}  // namespace
}  // namespace tessaline
