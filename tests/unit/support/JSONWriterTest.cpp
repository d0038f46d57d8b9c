#include "support/JSONWriter.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace tessaline {
namespace {

TEST(JSONWriterTest, PrettySortedWithPlainSlashesAndOnlyTheEscapesJSONNeeds) {
    const nlohmann::json value{{"zeta", "a/b"}, {"Alpha", {1, 2}}, {"beta", nlohmann::json::object()}, {"\xC3\xA9", true}};
    EXPECT_EQ("{\n  \"Alpha\": [\n    1,\n    2\n  ],\n  \"beta\": {},\n  \"zeta\": \"a/b\",\n  \"\xC3\xA9\": true\n}",
              JSONWriter::write(value));
    EXPECT_EQ(R"("q\" b\\ n\n t\t c\u0001 s/ \u001f é")", JSONWriter::write("q\" b\\ n\n t\t c\x01 s/ \x1f \xC3\xA9"));
    EXPECT_EQ("\"a\xEF\xBF\xBD\"", JSONWriter::write("a\xFF"));
}

TEST(JSONWriterTest, NumbersByTheirShortestText) {
    const std::pair<double, const char*> cases[] = {{30.0, "30"}, {-2.0, "-2"}, {0.1, "0.1"}, {12.5, "12.5"},
                                                    {1e-7, "1e-07"}, {-0.0, "0"}, {1.0 / 3, "0.3333333333333333"}};
    for (const auto& [number, text] : cases) EXPECT_EQ(text, JSONWriter::write(number)) << number;
    EXPECT_EQ("The number inf cannot be written as JSON.",
              thrownText([] { JSONWriter::write(nlohmann::json{{"t", std::numeric_limits<double>::infinity()}}); }));
}

TEST(JSONWriterTest, StreamedValuesNestLikeTrees) {
    JSONWriter writer;
    writer.beginArray();
    writer.beginObject();
    writer.endObject();
    writer.beginObject();
    writer.key("a"), writer.beginArray(), writer.endArray();
    writer.key("b"), writer.value(std::int64_t{-3});
    writer.endObject();
    writer.null();
    writer.endArray();
    const auto text = std::move(writer).text();
    EXPECT_EQ("[\n  {},\n  {\n    \"a\": [],\n    \"b\": -3\n  },\n  null\n]", text);
    EXPECT_EQ(text, JSONWriter::write(nlohmann::json::parse(text)));
}

}  // namespace
}  // namespace tessaline
