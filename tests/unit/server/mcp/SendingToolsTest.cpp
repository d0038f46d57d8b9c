#include "server/mcp/SendingTools.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using nlohmann::json;

TEST(SendingToolsTest, EmbedsOnlyAWholeBodyThatParsesAsJSON) {
    const std::string flag = "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA";  // one character, two code points
    const std::string deep = std::string(1000, '[') + std::string(1000, ']');
    const auto nested = [](std::size_t levels) { return std::string(levels, '[') + "1" + std::string(levels, ']'); };
    const struct {
        std::string body;
        const char* type;
        long long limit;
        json expected;  // the summary's body, and what it says of a cut
    } cases[] = {
        {"42", "application/json", 100, {{"body", 42}}},
        {"{\"a\":", "application/json", 100, {{"body", "{\"a\":"}}},
        {" {}", "text/plain", 100, {{"body", json::object()}}},  // JSON by its look
        {"plain", "text/plain", 100, {{"body", "plain"}}},
        {deep, "application/json", 5000, {{"body", deep}}},  // too deep to embed
        {nested(256), "application/json", 5000, {{"body", json::parse(nested(256))}}},
        {nested(257), "application/json", 5000, {{"body", nested(257)}}},
        {"[\"" + flag + "\"]", "application/json", 3, {{"body", "[\"" + flag}, {"bodyTruncated", true}, {"bodyChars", 5}}},
        // Bytes that are not UTF-8 are shown, counted and cut as U+FFFD, one per bad sequence.
        {"[\"\xFF\"]", "application/json", 100, {{"body", json::array({"\xEF\xBF\xBD"})}}},
        {"ab\xFF\xFE" "cd", "text/plain", 3, {{"body", "ab\xEF\xBF\xBD"}, {"bodyTruncated", true}, {"bodyChars", 6}}},
        {"ab\xE2\x82" "cd", "text/plain", 100, {{"body", "ab\xEF\xBF\xBD" "cd"}}},
    };
    for (const auto& [body, type, limit, expected] : cases) {
        const auto summary =
            json::parse(SendingTools::describe({.headers = {KeyValue{.key = "Content-Type", .value = type}}, .body = body}, limit));
        json shown;
        for (const char* key : {"body", "bodyTruncated", "bodyChars"}) {
            if (summary.contains(key)) shown[key] = summary[key];
        }
        EXPECT_EQ(expected, shown) << body;
    }
}

TEST(SendingToolsTest, ShowsHeaderFieldsByNameInByteOrderAndTheLastOfARepeatedName) {
    const StoredResponse response{.headers = {KeyValue{.key = "x-b", .value = "1"}, KeyValue{.key = "X-B", .value = "2"},
                                              KeyValue{.key = "x-b", .value = "3"}}};
    EXPECT_NE(SendingTools::describe(response, 100).find("  \"headers\": {\n    \"X-B\": \"2\",\n    \"x-b\": \"3\"\n  },\n"),
              std::string::npos);
}

}  // namespace
}  // namespace tessaline
