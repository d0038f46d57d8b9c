#include "server/mcp/JSONRPCMessage.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using nlohmann::json;

JSONRPCMessage read(std::string_view line) {
    auto message = JSONRPCMessage::read(line);
    EXPECT_TRUE(message) << line;
    return message.value_or(JSONRPCMessage{});
}

// What the loop echoes (the id, a cancelled call's id, a progress token) comes back as written,
// only the whitespace between tokens removed; the params of a call are a tree.
TEST(JSONRPCMessageTest, ReadsTheEnvelopeAndTheParamsOfACallInOnePass) {
    const auto call = read(R"({"params" : {"name":"send_request","arguments":{"a":[1, 2.5, -0, "\u00e9"],"b":null,"c":true},)"
                           R"("_meta":{"progressToken" : [ "x" , 1.50 ]}}, "id" : { "k" : 1.0 }, "method":"tools/call"})");
    EXPECT_EQ(R"({"k":1.0})", call.id);
    EXPECT_EQ("tools/call", call.method);
    EXPECT_EQ(json::parse(R"({"name":"send_request","arguments":{"a":[1,2.5,-0,"é"],"b":null,"c":true},)"
                          R"("_meta":{"progressToken":["x",1.5]}})"),
              call.params);
    EXPECT_EQ(14u, call.paramsValues);
    EXPECT_EQ(R"(["x",1.50])", call.progressToken);
    EXPECT_EQ("", call.requestId);

    const auto cancel = read(R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId" : "a b","x":{"requestId":2}}})");
    EXPECT_EQ(R"("a b")", cancel.requestId);
    EXPECT_TRUE(cancel.isNotification());
    EXPECT_EQ(nullptr, cancel.params);  // only a call's params become a tree

    const auto repeated = read(R"({"id":1,"method":5,"params":{"_meta":{"progressToken":1}},"params":[],"result":0})");
    EXPECT_EQ("", repeated.method);
    EXPECT_TRUE(repeated.hasMethod && repeated.hasOutcome);
    EXPECT_EQ("", repeated.progressToken);
    EXPECT_EQ(1u, repeated.paramsValues);
}

TEST(JSONRPCMessageTest, ParamsBeyondWhatAToolTakesAreCountedNotBuilt) {
    std::string many = R"({"id":1,"method":"tools/call","params":{"arguments":[)";
    for (std::size_t index = 0; index < JSONRPCMessage::paramsValueLimit; ++index) many += index == 0 ? "0" : ",0";
    const auto tooMany = read(many + "]}}");
    EXPECT_EQ(JSONRPCMessage::paramsValueLimit + 2, tooMany.paramsValues);
    EXPECT_EQ(nullptr, tooMany.params);

    const auto huge = read(R"({"method":"tools/call","params":{"a":[1e308,-2E+400,1e999]},"id":1e999})");
    EXPECT_EQ("-2E+400", huge.paramsNumberOutOfRange);
    EXPECT_EQ(nullptr, huge.params);
    EXPECT_EQ("1e999", huge.id);
    EXPECT_EQ("", read(R"({"method":"ping","params":{"a":1e999}})").paramsNumberOutOfRange);
}

TEST(JSONRPCMessageTest, AnythingButOneStrictJSONObjectIsNoMessage) {
    using namespace std::literals;
    for (const auto line : {"[1]"sv, "42"sv, "{\"id\":1,"sv, "{} {}"sv, "{\"id\":01}"sv, "{\"a\":\"\\uDC00\"}"sv, "{'a':1}"sv,
                            "{\"a\":[1,]}"sv, "{\"id\":1}\0"sv}) {
        EXPECT_FALSE(JSONRPCMessage::read(line)) << line;
    }
    EXPECT_TRUE(JSONRPCMessage::read("\xEF\xBB\xBF {\"id\":1} "));
}

}  // namespace
}  // namespace tessaline
