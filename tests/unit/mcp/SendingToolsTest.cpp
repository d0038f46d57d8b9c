#include "mcp/SendingTools.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using nlohmann::json;

StoredResponse responseWith(std::string body, std::string contentType) {
    StoredResponse response;
    response.status = 201;
    response.url = "https://api.test/x";
    response.method = HTTPMethod::post;
    response.duration = 0.0429;
    response.headers = {KeyValue{.key = "Content-Type", .value = std::move(contentType)}};
    response.body = std::move(body);
    return response;
}

TEST(SendingToolsTest, SummarisesTheExchange) {
    const json summary = SendingTools::describe(responseWith(R"({"a":[1,2.5,"x/y"]})", "application/json"), 20000);
    EXPECT_EQ(201, summary["status"]);
    EXPECT_EQ("Created", summary["statusText"]);
    EXPECT_EQ(42, summary["durationMs"]);
    EXPECT_EQ(19, summary["bytes"]);
    EXPECT_EQ("POST", summary["method"]);
    EXPECT_EQ("1970-01-01T00:00:00Z", summary["sentAt"]);
    EXPECT_EQ(json::parse(R"({"Content-Type":"application/json"})"), summary["headers"]);
    EXPECT_EQ(json::parse(R"({"a":[1,2.5,"x/y"]})"), summary["body"]);
    EXPECT_FALSE(summary.contains("error"));
    EXPECT_FALSE(summary.contains("bodyTruncated"));
}

TEST(SendingToolsTest, EmbedsOnlyWhatParsesAsJSON) {
    EXPECT_EQ(json(42), SendingTools::describe(responseWith("42", "application/json"), 100)["body"]);
    EXPECT_EQ(json("{\"a\":"), SendingTools::describe(responseWith("{\"a\":", "application/json"), 100)["body"]);
    // A body that starts like JSON counts as JSON whatever its declared type.
    EXPECT_EQ(json::object(), SendingTools::describe(responseWith(" {}", "text/plain"), 100)["body"]);
    EXPECT_EQ(json("plain"), SendingTools::describe(responseWith("plain", "text/plain"), 100)["body"]);
    const std::string deep = std::string(1000, '[') + std::string(1000, ']');
    EXPECT_EQ(json(deep), SendingTools::describe(responseWith(deep, "application/json"), 5000)["body"]);
}

TEST(SendingToolsTest, CutsAfterTheLimitInCharactersAndNeverParsesACutBody) {
    const std::string flag = "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA";  // one character, two code points
    const json exact = SendingTools::describe(responseWith("[" + flag + "]", "application/json"), 3);
    EXPECT_EQ(json("[" + flag + "]"), exact["body"]);
    const json cut = SendingTools::describe(responseWith("[\"" + flag + "\"]", "application/json"), 3);
    EXPECT_EQ(json("[\"" + flag), cut["body"]);
    EXPECT_EQ(true, cut["bodyTruncated"]);
    EXPECT_EQ(5, cut["bodyChars"]);
}

TEST(SendingToolsTest, ABodyCutByTheClientCountsEveryByteAndSaysSo) {
    auto response = responseWith("{\"a\":", "application/json");
    response.bodyBytes = 12345678901;
    const json summary = SendingTools::describe(response, 100);
    EXPECT_EQ(12345678901, summary["bytes"]);
    EXPECT_EQ("Only the first 5 of 12345678901 bytes of the body were kept.", summary["bodyCut"]);
    EXPECT_EQ("{\"a\":", summary["body"]);
    EXPECT_FALSE(SendingTools::describe(responseWith("{}", "application/json"), 100).contains("bodyCut"));
}

TEST(SendingToolsTest, ATransportFailureKeepsItsError) {
    StoredResponse failed;
    failed.error = "Couldn't connect to server";
    const json summary = SendingTools::describe(failed, 10);
    EXPECT_EQ(0, summary["status"]);
    EXPECT_EQ("", summary["statusText"]);
    EXPECT_EQ("Couldn't connect to server", summary["error"]);
    EXPECT_EQ("", summary["body"]);
}

}  // namespace
}  // namespace tessaline
