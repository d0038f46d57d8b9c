#include "server/mcp/EventListing.hpp"

#include "core/http/EventStreamParser.hpp"
#include "core/http/StreamWatch.hpp"
#include "core/support/UnicodeText.hpp"
#include "core/support/Utf8.hpp"
#include "server/mcp/EmbeddedJSON.hpp"

#include <string>

namespace tessaline::eventListing {
namespace {

using nlohmann::json;

// `data`: the event's data as text.
json listed(const StreamEvent& event, std::string data, StreamFormat format) {
    json item = json::object();
    if (format == StreamFormat::serverSentEvents) {
        item["event"] = utf8::repaired(event.type);
        if (!event.id.empty()) item["id"] = utf8::repaired(event.id);
        if (event.retry) item["retry"] = *event.retry;
    }
    const bool cut = event.dataBytes > event.data.size();
    if (cut) {
        item["dataCut"] = "Only the first " + std::to_string(event.data.size()) + " of " + std::to_string(event.dataBytes) +
                          " bytes of this event's data were kept.";
    }
    if (auto value = cut ? std::nullopt : embeddedJSON::parsed(data)) {
        item["data"] = std::move(*value);
    } else {
        if (!cut && format != StreamFormat::serverSentEvents) item["error"] = "Not valid JSON.";
        item["data"] = std::move(data);
    }
    if (!event.complete) item["incomplete"] = "The stream ended before this event's blank line.";
    return item;
}

std::vector<StreamEvent> events(const StoredResponse& response, StreamFormat format) {
    EventStreamParser parser(format);
    parser.feed(response.body);
    parser.finish();
    auto events = parser.take();
    if (events.size() > StreamWatch::eventLimit) events.resize(StreamWatch::eventLimit);
    return events;
}

}  // namespace

std::optional<StreamFormat> format(const StoredResponse& response) {
    const auto type = response.contentType();
    return type && !response.error ? streamFormat(*type) : std::nullopt;
}

void write(JSONWriter& writer, const StoredResponse& response, StreamFormat format, long long limit) {
    const auto all = events(response, format);
    json list = json::array();
    std::optional<std::string> cut;
    std::size_t characters = 0;
    for (const auto& event : all) {
        std::string data = utf8::repaired(event.data);
        characters += unicodeText::characterCount(data);
        if (characters > static_cast<unsigned long long>(limit)) {
            cut = "Only the first " + std::to_string(list.size()) + " of " + std::to_string(all.size()) +
                  " events are shown: their data reaches the limit of " + std::to_string(limit) + " characters.";
            break;
        }
        list.push_back(listed(event, std::move(data), format));
    }
    writer.key("events");
    writer.append(list);
    if (cut) writer.key("eventsCut"), writer.value(*cut);
}

}  // namespace tessaline::eventListing
