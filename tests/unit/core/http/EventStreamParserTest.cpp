#include "core/http/EventStreamParser.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessaline {

void PrintTo(const StreamEvent& event, std::ostream* out) {
    *out << "{" << event.type << " id=" << event.id << " retry=" << testing::PrintToString(event.retry) << " "
         << testing::PrintToString(event.data) << " (" << event.dataBytes << ")" << (event.complete ? "" : " incomplete") << "}";
}

namespace {

using namespace std::string_literals;

// The events of a body fed in two pieces, cut at `split`, then ended.
std::vector<StreamEvent> parsed(StreamFormat format, std::string_view body, std::size_t split = 0) {
    EventStreamParser parser(format);
    parser.feed(body.substr(0, split));
    auto events = parser.take();
    parser.feed(body.substr(split));
    parser.finish();
    for (auto& event : parser.take()) events.push_back(std::move(event));
    return events;
}

StreamEvent message(std::string data, std::string type = "message", std::string id = "") {
    const auto bytes = data.size();
    return {.type = std::move(type), .id = std::move(id), .data = std::move(data), .dataBytes = bytes};
}

StreamEvent record(std::string data) {
    const auto bytes = data.size();
    return {.data = std::move(data), .dataBytes = bytes};
}

TEST(EventStreamParserTest, ServerSentEventsFollowTheParsingRules) {
    struct Case {
        std::string body;
        std::vector<StreamEvent> events;
    };
    StreamEvent retried = message("x");
    retried.retry = 1500;
    StreamEvent unfinished = message("tail");
    unfinished.complete = false;
    const std::vector<Case> cases{
        {"data: one\n\ndata: two\n\n", {message("one"), message("two")}},
        {"data: a\r\ndata: b\r\n\r\n", {message("a\nb")}},
        {"data: a\rdata: b\r\rdata: c\n\n", {message("a\nb"), message("c")}},
        {"\xEF\xBB\xBF" "data: bom\n\n", {message("bom")}},
        {"\xEF\xBB\xBF\xEF\xBB\xBF" "data: x\n\n", {}},  // the second mark is part of a field name
        {": comment\ndata: kept\n:another\n\n", {message("kept")}},
        {"data\n\n", {message("")}},
        {"data:no space\ndata:  two spaces\n\n", {message("no space\n two spaces")}},
        {"event: tick\nid: 7\ndata: {\"n\":1}\n\ndata: next\n\n", {message("{\"n\":1}", "tick", "7"), message("next", "message", "7")}},
        {"event: lost\n\ndata: x\n\n", {message("x")}},  // a block without data resets the type
        {"retry: 1500\n\ndata: x\n\nretry: 15x0\ndata: y\n\n", {retried, message("y")}},
        {"id: a\0b\ndata: x\n\n"s, {message("x")}},
        {"id\ndata: x\n\n", {message("x")}},
        {"unknown: field\ndata: x\n\n", {message("x")}},
        {"data: x\n\ndata: tail", {message("x"), unfinished}},
        {"data: tail\n", {unfinished}},
        {"event: only\n", {}},
    };
    for (const auto& [body, events] : cases) {
        EXPECT_EQ(parsed(StreamFormat::serverSentEvents, body), events) << testing::PrintToString(body);
    }
}

TEST(EventStreamParserTest, JSONStreamsGiveOneRecordPerLineOrSeparator) {
    EXPECT_EQ(parsed(StreamFormat::jsonLines, "{\"a\":1}\n\n  [1, 2] \r\nnot json\n{\"last\":true}"),
              (std::vector{record("{\"a\":1}"), record("[1, 2]"), record("not json"), record("{\"last\":true}")}));
    EXPECT_EQ(parsed(StreamFormat::jsonLines, "\xEF\xBB\xBF{}\n"), std::vector{record("{}")});
    // The start of a mark that turns out to be none is data, whether more bytes came or not.
    EXPECT_EQ(parsed(StreamFormat::jsonLines, "\xEF\xBB" "z\n", 1), std::vector{record("\xEF\xBB" "z")});
    EXPECT_EQ(parsed(StreamFormat::jsonLines, "\xEF\xBB"), std::vector{record("\xEF\xBB")});
    EXPECT_EQ(parsed(StreamFormat::jsonSequence, "\x1E{\"a\":\n1}\n\x1E\n\x1E\"text\"\n\x1E{bad"),
              (std::vector{record("{\"a\":\n1}"), record("\"text\""), record("{bad")}));
}

TEST(EventStreamParserTest, EveryWayOfCuttingTheBodyGivesTheSameEvents) {
    const std::vector<std::pair<StreamFormat, std::string>> bodies{
        {StreamFormat::serverSentEvents, "\xEF\xBB\xBF" "event: a\r\nid: 1\r\ndata: x\r\n\r\n: c\rdata\r\rdata: \xE2\x82\xAC\n\ndata: end"},
        {StreamFormat::jsonLines, "\xEF\xBB\xBF{\"a\":1}\r\n\n[2]\nbad\n3"},
        {StreamFormat::jsonSequence, "\x1E{\"a\":1}\n\x1E[2]\n\x1E"},
    };
    for (const auto& [format, body] : bodies) {
        const auto whole = parsed(format, body);
        ASSERT_FALSE(whole.empty());
        for (std::size_t split = 1; split < body.size(); ++split) EXPECT_EQ(parsed(format, body, split), whole) << split;
    }
}

TEST(EventStreamParserTest, AnEventPastItsBoundIsCutAndCounted) {
    const std::string big(EventStreamParser::dataLimit + 100, 'x');
    const auto events = parsed(StreamFormat::serverSentEvents, "data: " + big + "\ndata: more\n\ndata: after\n\n", 4096);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].data, big.substr(0, EventStreamParser::dataLimit));
    EXPECT_EQ(events[0].dataBytes, big.size() + 5);
    EXPECT_EQ(events[1], message("after"));

    const auto records = parsed(StreamFormat::jsonLines, "  " + big + "  \n[1]\n", 1000);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].data, big.substr(0, EventStreamParser::dataLimit));
    EXPECT_EQ(records[0].dataBytes, big.size() + 2);
    EXPECT_EQ(records[1], record("[1]"));
}

}  // namespace
}  // namespace tessaline
