#include "core/model/StoredResponse.hpp"

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
    const StoredResponse failed{.sentAt = sent + milliseconds(750), .body = std::string("\0\xFFok", 4), .error = "refused"};
    const auto object = nlohmann::json::parse(encodeHistory({failed}))[0];
    EXPECT_EQ((std::vector<std::string>{"2026-01-01T09:00:00Z", "AP9vaw==", "refused"}),
              (std::vector<std::string>{object["sentAt"], object["body"], object["error"]}));
    EXPECT_FALSE(object.contains("requestBody") || object.contains("bodyBytes"));
    EXPECT_FALSE(nlohmann::json::parse(encodeHistory({answered({}, "")}))[0].contains("error"));
}

TEST(StoredResponseTest, ReadingErrorsNameTheEntry) {
    const auto good = nlohmann::json::parse(encodeHistory({answered({}, "")}))[0];
    const auto failure = [](const nlohmann::json& list) { return thrownText([&] { decodeHistory(list.dump()); }); };
    auto badBody = good, badDate = good, noStatus = good;
    badBody["body"] = "not base64!";
    badDate["sentAt"] = "yesterday";
    noStatus.erase("status");
    EXPECT_EQ("[1].body: Invalid Base64 data.", failure(nlohmann::json::array({good, badBody})));
    EXPECT_EQ("[0].sentAt: Invalid ISO 8601 date “yesterday”.", failure(nlohmann::json::array({badDate})));
    EXPECT_EQ("[0].status: Key not found.", failure(nlohmann::json::array({noStatus})));
    EXPECT_EQ("Expected an array but found an object.", failure(good));
}

TEST(StoredResponseTest, BodyTextAndContentType) {
    EXPECT_EQ("ok\xEF\xBF\xBD", answered({}, "ok\xFF").bodyText());
    const auto response = answered({{.key = "X-Other"}, {.key = "CONTENT-TYPE", .value = "a/b"}, {.key = "Content-Type"}}, "");
    EXPECT_EQ("a/b", response.contentType());  // the first, whatever its case
    EXPECT_FALSE(answered({}, "").contentType());
}

// By the type, or failing that by the first character after white space.
TEST(StoredResponseTest, IsJSONByTypeOrByFirstCharacter) {
    const std::vector<std::tuple<std::string, std::string, bool>> cases{
        {"application/problem+json", "not json", true}, {"Application/JSON; charset=utf-8", "", true},
        {"", "[1]", true},                              {"", " \n\t{\"a\":1}", true},
        {"", "\xC2\xA0\xE2\x80\xA8[", true},            {"text/plain", "{}", true},
        {"text/html", "<html>", false},                 {"", "", false},
        {"", "\xFF{", false},                           {"", "x{", false},
    };
    for (const auto& [type, body, expected] : cases) {
        const auto headers = type.empty() ? std::vector<KeyValue>{} : std::vector<KeyValue>{{.key = "Content-Type", .value = type}};
        EXPECT_EQ(expected, answered(headers, body).isJSON()) << type << " " << body;
    }
}

}  // namespace
}  // namespace tessaline
