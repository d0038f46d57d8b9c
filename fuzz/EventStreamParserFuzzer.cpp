// A streamed body comes from the network in pieces cut anywhere. Whatever the bytes and
// however they are cut, the parser must give the same events as from the body in one piece,
// and never keep more of an event's data than its bound.
#include "core/http/EventStreamParser.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace {

using namespace tessaline;

void check(bool condition) {
    if (!condition) std::abort();
}

std::vector<StreamEvent> parsed(StreamFormat format, std::string_view body, std::size_t piece) {
    EventStreamParser parser(format);
    std::vector<StreamEvent> events;
    for (std::size_t at = 0; at < body.size(); at += piece) {
        parser.feed(body.substr(at, piece));
        for (auto& event : parser.take()) events.push_back(std::move(event));
    }
    parser.finish();
    for (auto& event : parser.take()) events.push_back(std::move(event));
    return events;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const auto format = static_cast<StreamFormat>(data[0] % 3);
    const std::size_t piece = data[1] % 7 + 1;
    const std::string_view body(reinterpret_cast<const char*>(data + 2), size - 2);

    const auto whole = parsed(format, body, body.size() + 1);
    check(parsed(format, body, piece) == whole);
    for (const auto& event : whole) {
        check(event.data.size() <= EventStreamParser::dataLimit && event.dataBytes >= event.data.size());
        check(event.complete || format == StreamFormat::serverSentEvents);
    }
    return 0;
}
