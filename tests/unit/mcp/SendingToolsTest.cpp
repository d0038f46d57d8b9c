#include "mcp/SendingTools.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using nlohmann::json;

// The body of the summary, and what it says of a cut.
json shown(const std::string& body, const std::string& contentType, long long limit) {
    StoredResponse response{.status = 200,
                            .headers = {KeyValue{.key = "Content-Type", .value = contentType}},
                            .body = body};
    const auto summary = SendingTools::describe(response, limit);
    json kept;
    for (const char* key : {"body", "bodyTruncated", "bodyChars"}) {
        if (summary.contains(key)) kept[key] = summary[key];
    }
    return kept;
}

TEST(SendingToolsTest, EmbedsOnlyAWholeBodyThatParsesAsJSON) {
    const std::string flag = "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA";  // one character, two code points
    const std::string deep = std::string(1000, '[') + std::string(1000, ']');
    const struct {
        const char* name;
        std::string body;
        const char* type;
        long long limit;
        json expected;
    } cases[] = {
        {"a scalar", "42", "application/json", 100, {{"body", 42}}},
        {"broken JSON", "{\"a\":", "application/json", 100, {{"body", "{\"a\":"}}},
        {"JSON by its look", " {}", "text/plain", 100, {{"body", json::object()}}},
        {"text", "plain", "text/plain", 100, {{"body", "plain"}}},
        {"nested too deep to embed", deep, "application/json", 5000, {{"body", deep}}},
        {"exactly the limit", "[" + flag + "]", "application/json", 3, {{"body", "[" + flag + "]"}}},
        {"cut, so never parsed", "[\"" + flag + "\"]", "application/json", 3,
         {{"body", "[\"" + flag}, {"bodyTruncated", true}, {"bodyChars", 5}}},
    };
    for (const auto& [name, body, type, limit, expected] : cases) EXPECT_EQ(expected, shown(body, type, limit)) << name;
}

}  // namespace
}  // namespace tessaline
