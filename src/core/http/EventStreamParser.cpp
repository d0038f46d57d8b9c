#include "core/http/EventStreamParser.hpp"

#include <algorithm>
#include <charconv>
#include <utility>

namespace tessaline {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
// A line is kept up to an event's data and room for what comes before it: "data: " and a
// little more.
constexpr std::size_t lineKept = EventStreamParser::dataLimit + 16;

}  // namespace

void EventStreamParser::feed(std::string_view bytes) {
    if (!started) bytes = withoutByteOrderMark(bytes);
    split(bytes);
}

// Holds back the bytes that may still begin a byte order mark, and lets them through as
// they are once they cannot.
std::string_view EventStreamParser::withoutByteOrderMark(std::string_view bytes) {
    while (!bytes.empty() && held.size() < byteOrderMark.size()) {
        if (bytes.front() != byteOrderMark[held.size()]) {
            started = true;
            split(std::exchange(held, {}));
            return bytes;
        }
        held += bytes.front();
        bytes.remove_prefix(1);
    }
    if (held.size() == byteOrderMark.size()) {
        started = true;
        held.clear();
    }
    return bytes;
}

void EventStreamParser::split(std::string_view bytes) {
    const std::string_view lineEnds = format == StreamFormat::serverSentEvents ? "\r\n"
                                      : format == StreamFormat::jsonLines      ? "\n"
                                                                               : "\x1E";
    while (!bytes.empty()) {
        if (std::exchange(afterCarriageReturn, false) && bytes.front() == '\n') {
            bytes.remove_prefix(1);
            continue;
        }
        const std::size_t end = std::min(bytes.find_first_of(lineEnds), bytes.size());
        lineBytes += end;
        line.append(bytes.substr(0, std::min(end, lineKept - line.size())));
        if (end == bytes.size()) return;
        afterCarriageReturn = bytes[end] == '\r';
        endLine();
        bytes.remove_prefix(end + 1);
    }
}

void EventStreamParser::endLine() {
    const std::string text = std::exchange(line, {});
    const std::uint64_t bytes = std::exchange(lineBytes, 0);
    if (format == StreamFormat::serverSentEvents) {
        if (bytes == 0) {
            dispatch(true);
        } else if (text.front() != ':') {
            endField(text, bytes);
        }
        return;
    }
    const bool whole = bytes == text.size();
    const std::string_view kept(text);
    const std::size_t first = std::min(kept.find_first_not_of(" \t\r\n"), kept.size());
    if (first == kept.size() && whole) return;
    const std::size_t end = whole ? kept.find_last_not_of(" \t\r\n") + 1 : kept.size();
    const std::string_view record = kept.substr(first, end - first);
    ready.push_back({.data = std::string(record.substr(0, dataLimit)), .dataBytes = bytes - first - (kept.size() - end)});
}

// `text` is the kept part of a field line of `bytes` bytes.
void EventStreamParser::endField(std::string_view text, std::uint64_t bytes) {
    const auto colon = text.find(':');
    const std::string_view field = text.substr(0, colon);
    std::string_view value = colon == std::string_view::npos ? std::string_view() : text.substr(colon + 1);
    if (value.starts_with(' ')) value.remove_prefix(1);
    if (field == "event") {
        type = value;
    } else if (field == "data") {
        appendData(value, bytes - (text.size() - value.size()));
    } else if (field == "id") {
        if (value.find('\0') == std::string_view::npos) lastID = value;
    } else if (field == "retry") {
        std::uint64_t retry = 0;
        const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), retry);
        if (!value.empty() && error == std::errc() && end == value.data() + value.size()) pending.retry = retry;
    }
}

void EventStreamParser::appendData(std::string_view value, std::uint64_t valueBytes) {
    if (dataLines++ > 0) {
        ++pending.dataBytes;
        if (pending.data.size() < dataLimit) pending.data += '\n';
    }
    pending.dataBytes += valueBytes;
    pending.data.append(value.substr(0, dataLimit - pending.data.size()));
}

void EventStreamParser::dispatch(bool complete) {
    if (dataLines == 0) {
        type.clear();
        return;
    }
    pending.type = type.empty() ? "message" : std::exchange(type, {});
    pending.id = lastID;
    pending.complete = complete;
    ready.push_back(std::exchange(pending, {}));
    dataLines = 0;
}

void EventStreamParser::finish() {
    if (!started) {
        started = true;
        split(std::exchange(held, {}));
    }
    if (lineBytes > 0) endLine();
    if (format == StreamFormat::serverSentEvents) dispatch(false);
}

std::vector<StreamEvent> EventStreamParser::take() { return std::exchange(ready, {}); }

}  // namespace tessaline
