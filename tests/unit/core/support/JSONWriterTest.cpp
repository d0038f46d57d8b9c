#include "core/support/JSONWriter.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

#include <algorithm>
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

// Plain runs go out whole and escapes one by one: runs of every length around the first
// escape, across the eight-byte words and past the 256-byte pieces the escaping works in.
TEST(JSONWriterTest, StringsKeepTheirPlainRunsAroundEscapes) {
    EXPECT_EQ("\"\"", JSONWriter::write(""));
    for (const std::size_t run : {1, 7, 8, 9, 255, 256, 300}) {
        const std::string plain(run, 'p');
        EXPECT_EQ("\"" + plain + "\"", JSONWriter::write(plain)) << run;
        EXPECT_EQ("\"" + plain + "\\n" + plain + "\\\"\\u0001" + plain + "\"",
                  JSONWriter::write(plain + "\n" + plain + "\"\x01" + plain)) << run;
        EXPECT_EQ("\"\\t" + plain + "\"", JSONWriter::write("\t" + plain)) << run;
        EXPECT_EQ("\"" + plain + "\\\\\"", JSONWriter::write(plain + "\\")) << run;
    }
}

// Each level indents by two spaces, however deep: deeper than the writer's ready-made
// indentation too.
TEST(JSONWriterTest, IndentsEveryLevel) {
    nlohmann::json value = 1;
    for (int level = 0; level < 40; ++level) value = nlohmann::json::array({value});
    const auto text = JSONWriter::write(value);
    EXPECT_NE(text.find("\n" + std::string(78, ' ') + "[\n" + std::string(80, ' ') + "1\n" + std::string(78, ' ') + "]\n"),
              std::string::npos);
    EXPECT_EQ(2 * 40 + 1, std::count(text.begin(), text.end(), '\n') + 1);
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
