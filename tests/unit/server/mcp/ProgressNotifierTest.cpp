#include "server/mcp/ProgressNotifier.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using namespace std::chrono_literals;

TEST(ProgressNotifierTest, RisesWithEveryNotificationAndWaitsHalfASecondBetweenThem) {
    ProgressNotifier notifier(R"("tok")");
    const auto start = ProgressNotifier::Clock::now();
    const auto line = [&](TransferProgress progress, std::chrono::milliseconds at) {
        return notifier.line(progress, start + at).value_or("nothing");
    };
    const auto expected = [](const std::string& params) {
        return R"({"jsonrpc":"2.0","method":"notifications/progress","params":{)" + params + "}}";
    };
    EXPECT_EQ(expected(R"("message":"Waiting for the first byte","progress":0,"progressToken":"tok")"), line({}, 0ms));
    EXPECT_EQ("nothing", line({.responding = true, .received = 10}, 499ms));
    EXPECT_EQ(expected(R"("message":"Waiting for the first byte","progress":1,"progressToken":"tok")"), line({}, 500ms));
    EXPECT_EQ(expected(R"("message":"12,345 of 1,234,567 bytes received","progress":12345,"progressToken":"tok","total":1234567)"),
              line({.responding = true, .received = 12345, .total = 1234567}, 1000ms));
    EXPECT_EQ(expected(R"("message":"12,345 bytes received","progress":12346,"progressToken":"tok")"),
              line({.responding = true, .received = 12345}, 1600ms));
}

}  // namespace
}  // namespace tessaline
