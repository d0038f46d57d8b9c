#include "server/mcp/ResponseRouter.hpp"

#include "server/mcp/JSONRPCMessage.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

TEST(ResponseRouterTest, HandsAResponseToWhoeverWaitsForItsIdAndDropsTheRest) {
    const std::string line = R"({"jsonrpc":"2.0","id": [ 1 , "a" ],"result":{"action":"accept"}})";
    const auto message = JSONRPCMessage::read(line);
    ASSERT_TRUE(message && message->isResponse());
    EXPECT_FALSE(JSONRPCMessage::read(R"({"id":1,"method":"ping","result":{}})")->isResponse());
    EXPECT_FALSE(JSONRPCMessage::read(R"({"id":null,"error":{}})")->isResponse());

    ResponseRouter router;
    auto answer = router.expect(R"([1,"a"])");
    EXPECT_FALSE(router.deliver("2", line));
    EXPECT_TRUE(router.deliver(message->id, line));
    EXPECT_EQ(line, answer.get());
    EXPECT_FALSE(router.deliver(message->id, line));  // only once
}

TEST(ResponseRouterTest, RequestsOfTheServerGetFreshIdsAndAForgottenOneDropsItsResponse) {
    ResponseRouter router;
    auto first = router.expectNew();
    auto second = router.expectNew();
    EXPECT_EQ(R"("tessaline-1")", first.id);
    EXPECT_EQ(R"("tessaline-2")", second.id);
    router.forget(first.id);
    EXPECT_FALSE(router.deliver(first.id, "late"));
    EXPECT_TRUE(router.deliver(second.id, "answer"));
    EXPECT_EQ("answer", second.response.get());
}

}  // namespace
}  // namespace tessaline
