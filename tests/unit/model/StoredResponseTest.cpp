#include "model/StoredResponse.hpp"
#include "model/Written.hpp"

#include "ThrownText.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using namespace std::chrono;

const Date sent = sys_days(year(2026) / 1 / 1) + hours(9);

StoredResponse answered(std::vector<KeyValue> headers, std::string body) {
    return {.requestID = Uuid::random(),
            .sentAt = sent,
            .method = HTTPMethod::post,
            .url = "https://example.test/a?b=c",
            .requestHeaders = {KeyValue{.key = "Accept", .value = "*/*"}},
            .requestBody = "{\"a\":1}",
            .status = 500,
            .headers = std::move(headers),
            .body = std::move(body),
            .duration = 0.25};
}

TEST(StoredResponseTest, RoundTripOfAnAnswerAndOfATransportFailure) {
    auto answer = answered({KeyValue{.key = "content-type", .value = "text/plain"}}, std::string("\0\xFFok", 4));
    answer.bodyBytes = 20'000'000'000;  // cut at the client's limit
    const StoredResponse timedOut{.requestID = answer.requestID,
                                  .sentAt = sent,
                                  .url = "https://example.test/slow",
                                  .duration = 30,
                                  .error = "Operation timed out after 30000 milliseconds with 0 bytes received"};
    const std::vector<StoredResponse> history{answer, timedOut};
    const auto bytes = encodeHistory(history);
    EXPECT_EQ(history, decodeHistory(bytes));
    EXPECT_EQ(bytes, encodeHistory(decodeHistory(bytes)));
}

// Dates to the second, the body in Base64, absent optionals left out.
TEST(StoredResponseTest, PersistedForm) {
    const Uuid id = *Uuid::parse("11111111-1111-4111-8111-111111111111");
    const StoredResponse failed{.id = id,
                                .requestID = id,
                                .sentAt = sent + milliseconds(750),
                                .body = std::string("\0\xFFok", 4),
                                .duration = 2,
                                .error = "refused"};
    EXPECT_EQ(R"([
  {
    "body": "AP9vaw==",
    "duration": 2,
    "error": "refused",
    "headers": [],
    "id": "11111111-1111-4111-8111-111111111111",
    "method": "GET",
    "requestHeaders": [],
    "requestID": "11111111-1111-4111-8111-111111111111",
    "sentAt": "2026-01-01T09:00:00Z",
    "status": 0,
    "url": ""
  }
])",
              encodeHistory({failed}));
}

TEST(StoredResponseTest, ReadingErrorsNameTheEntry) {
    const auto good = written(answered({}, ""));
    const auto failure = [](const nlohmann::json& list) { return thrownText([&] { decodeHistory(list.dump()); }); };
    auto badBody = good;
    badBody["body"] = "not base64!";
    EXPECT_EQ("[1].body: Invalid Base64 data.", failure(nlohmann::json::array({good, badBody})));
    auto badDate = good;
    badDate["sentAt"] = "yesterday";
    EXPECT_EQ("[0].sentAt: Invalid ISO 8601 date “yesterday”.", failure(nlohmann::json::array({badDate})));
    auto noStatus = good;
    noStatus.erase("status");
    EXPECT_EQ("[0].status: Key not found.", failure(nlohmann::json::array({noStatus})));
    EXPECT_EQ("Expected an array but found an object.", failure(good));
}

TEST(StoredResponseTest, BodyTextAndContentType) {
    EXPECT_EQ("ok\xEF\xBF\xBD", answered({}, "ok\xFF").bodyText());
    const auto response = answered({KeyValue{.key = "X-Other", .value = "1"}, KeyValue{.key = "CONTENT-TYPE", .value = "a/b"},
                                    KeyValue{.key = "Content-Type", .value = "c/d"}},
                                   "");
    EXPECT_EQ("a/b", response.contentType());  // the first, whatever its case
    EXPECT_FALSE(answered({}, "").contentType());
}

TEST(StoredResponseTest, IsJSONByTypeOrByFirstCharacter) {
    struct Case {
        std::optional<std::string> type;
        std::string body;
        bool expected;
    } cases[] = {
        {"application/problem+json", "not json", true},
        {"Application/JSON; charset=utf-8", "", true},
        {std::nullopt, "[1]", true},
        {std::nullopt, " \n\t{\"a\":1}", true},
        {std::nullopt, "\xC2\xA0\xE2\x80\xA8[", true},  // no-break space, line separator
        {"text/plain", "{}", true},
        {"text/html", "<html>", false},
        {std::nullopt, "", false},
        {std::nullopt, "\xFF{", false},
        {std::nullopt, "x{", false},
    };
    for (const auto& c : cases) {
        std::vector<KeyValue> headers;
        if (c.type) headers.push_back(KeyValue{.key = "Content-Type", .value = *c.type});
        EXPECT_EQ(c.expected, answered(headers, c.body).isJSON()) << c.body;
    }
}

}  // namespace
}  // namespace tessaline
