#include "mcp/MCPServer.hpp"

#include "TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tessaline {
namespace {

using nlohmann::json;

class MCPServerTest : public ::testing::Test {
protected:
    std::string reply(std::string_view line) {
        auto result = server.handle(line);
        EXPECT_TRUE(result.has_value()) << line;
        return result.value_or("");
    }
    TemporaryFolder folder{"tessaline-server"};
    WorkspaceStore store{folder.path};
    MCPServer server{store};
};

TEST_F(MCPServerTest, AnswersPingWithSortedKeys) {
    EXPECT_EQ(R"({"id":1,"jsonrpc":"2.0","result":{}})", reply(R"({"jsonrpc":"2.0","id":1,"method":"ping"})"));
}

TEST_F(MCPServerTest, RejectsWhatIsNotAJsonObject) {
    const std::string parseError = R"({"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"})";
    using namespace std::string_literals;
    for (const std::string& line : {"[1,2]"s, "not json"s, "\"text\""s, "42"s, "{\"id\":1,"s, "{} {}"s, "{\"id\":1}\0"s}) {
        EXPECT_EQ(parseError, reply(line)) << line;
    }
}

TEST_F(MCPServerTest, NeverAnswersNotifications) {
    EXPECT_FALSE(server.handle(R"({"jsonrpc":"2.0","method":"tools/list"})"));
    EXPECT_FALSE(server.handle(R"({"jsonrpc":"2.0","id":null,"method":"tools/list"})"));
    EXPECT_FALSE(server.handle(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"));
    EXPECT_FALSE(server.handle(R"({"method":"no/such/method"})"));
}

TEST_F(MCPServerTest, AnswersTheSevenMethods) {
    EXPECT_EQ(R"({"id":1,"jsonrpc":"2.0","result":{"resources":[]}})", reply(R"({"id":1,"method":"resources/list"})"));
    EXPECT_EQ(R"({"id":1,"jsonrpc":"2.0","result":{"resourceTemplates":[]}})",
              reply(R"({"id":1,"method":"resources/templates/list"})"));
    EXPECT_EQ(R"({"id":1,"jsonrpc":"2.0","result":{"prompts":[]}})", reply(R"({"id":1,"method":"prompts/list"})"));

    const json initialize = json::parse(reply(R"({"id":1,"method":"initialize","params":{"protocolVersion":"1999"}})"));
    EXPECT_EQ("2025-06-18", initialize["result"]["protocolVersion"]);
    EXPECT_EQ(json::parse(R"({"tools":{"listChanged":false}})"), initialize["result"]["capabilities"]);
    EXPECT_EQ(json::parse(R"({"name":"tessaline","version":"0.4.0"})"), initialize["result"]["serverInfo"]);
    EXPECT_TRUE(initialize["result"]["instructions"].get<std::string>().starts_with("Tessaline is a local HTTP/API"));

    const json list = json::parse(reply(R"({"id":1,"method":"tools/list"})"));
    EXPECT_EQ(17u, list["result"]["tools"].size());
}

TEST_F(MCPServerTest, ReportsUnknownMethods) {
    EXPECT_EQ(R"({"error":{"code":-32601,"message":"Method not found: tools/run"},"id":3,"jsonrpc":"2.0"})",
              reply(R"({"id":3,"method":"tools/run"})"));
    // A method that is not a text is the empty method name.
    EXPECT_EQ(R"({"error":{"code":-32601,"message":"Method not found: "},"id":3,"jsonrpc":"2.0"})",
              reply(R"({"id":3,"method":5})"));
}

TEST_F(MCPServerTest, MapsToolCallFailures) {
    EXPECT_EQ(R"({"error":{"code":-32602,"message":"Missing tool name"},"id":1,"jsonrpc":"2.0"})",
              reply(R"({"id":1,"method":"tools/call","params":{"arguments":{}}})"));
    EXPECT_EQ(R"({"error":{"code":-32602,"message":"Missing tool name"},"id":1,"jsonrpc":"2.0"})",
              reply(R"({"id":1,"method":"tools/call","params":{"name":7}})"));
    EXPECT_EQ(R"({"error":{"code":-32601,"message":"Unknown tool: List_Collections"},"id":1,"jsonrpc":"2.0"})",
              reply(R"({"id":1,"method":"tools/call","params":{"name":"List_Collections"}})"));
    // {"name":..,"arguments":{"a":[...]}} holds four values besides the array's elements.
    const auto withElements = [](std::size_t count) {
        std::string elements(2 * count - 1, ',');
        for (std::size_t index = 0; index < elements.size(); index += 2) elements[index] = '0';
        return R"({"id":1,"method":"tools/call","params":{"name":"list_requests","arguments":{"a":[)" + elements + "]}}}";
    };
    EXPECT_EQ(R"({"error":{"code":-32602,"message":"Invalid params: more than 100000 values"},"id":1,"jsonrpc":"2.0"})",
              reply(withElements(99997)));
    EXPECT_TRUE(json::parse(reply(withElements(99996))).contains("result"));
    EXPECT_EQ(R"({"error":{"code":-32602,"message":"Invalid params: a number is out of range"},"id":1,"jsonrpc":"2.0"})",
              reply(R"({"id":1,"method":"tools/call","params":{"name":"list_requests","arguments":{"a":1e999}}})"));
}

TEST_F(MCPServerTest, AnswersALookupByAVeryLongName) {
    const std::string name(1 << 20, 'N');
    const json result = json::parse(reply(R"({"id":1,"method":"tools/call","params":{"name":"get_request","arguments":{"request":")" + name + R"("}}})"));
    EXPECT_EQ("Error: No request matches " + name + ". Use list_requests.", result["result"]["content"][0]["text"]);
}

TEST_F(MCPServerTest, ReplacesInvalidUtf8BeforeParsing) {
    EXPECT_EQ("{\"id\":\"a\xEF\xBF\xBD" "b\",\"jsonrpc\":\"2.0\",\"result\":{}}",
              reply("{\"id\":\"a\xFF" "b\",\"method\":\"ping\"}"));
}

TEST_F(MCPServerTest, EchoesDeeplyNestedIdsWithoutExhaustingTheStack) {
    const int depth = 100000;
    const std::string id = std::string(depth, '[') + std::string(depth, ']');
    const std::string line = R"({"method":"ping","id":)" + id + R"(,"params":)" + std::string(depth, '[') +
                             std::string(depth, ']') + "}";
    EXPECT_EQ(R"({"id":)" + id + R"(,"jsonrpc":"2.0","result":{}})", reply(line));
}

}  // namespace
}  // namespace tessaline
