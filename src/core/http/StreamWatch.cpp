#include "core/http/StreamWatch.hpp"

#include "core/http/CurlEasy.hpp"

#include <algorithm>

namespace tessaline {
namespace {

std::string counted(std::size_t events) { return std::to_string(events) + (events == 1 ? " event" : " events"); }

}  // namespace

StreamWatch::StreamWatch(StreamFormat format, std::chrono::milliseconds timeout, Clock::time_point now)
    : parser(format), idle(timeout), quietSpell(std::min(longestQuietSpell, timeout * 3 / 4)), lastEvent(now) {}

void StreamWatch::receive(std::string_view bytes, Clock::time_point now) {
    parser.feed(bytes);
    const std::size_t arrived = parser.take().size();
    if (arrived == 0) return;
    count += arrived;
    lastEvent = now;
}

std::optional<std::string> StreamWatch::closing(Clock::time_point now, std::uint64_t bodyBytes) const {
    const std::string sendEnded = ", the most a send keeps; the send ended there.";
    if (count >= eventLimit) return "The stream reached " + counted(eventLimit) + sendEnded;
    if (bodyBytes >= CurlEasy::bodyLimit) return "The stream reached " + std::to_string(CurlEasy::bodyLimit) + " bytes" + sendEnded;
    if (now - lastEvent >= quietSpell) {
        return "The stream was still open with no event for " + std::to_string(quietSpell.count()) + " ms; the send ended there.";
    }
    return std::nullopt;
}

std::string StreamWatch::ended(bool broken) {
    parser.finish();
    count += parser.take().size();
    if (broken) return "The connection broke off after " + counted(count) + ", before the stream's end.";
    return "The server ended the stream after " + counted(count) + ".";
}

std::string StreamWatch::overran() const {
    static_assert(CurlEasy::totalTimeFactor == 4, "the text below names the factor");
    return "The stream was still open after " + std::to_string((idle * CurlEasy::totalTimeFactor).count()) +
           " ms, four times the request's time-out; the send ended there.";
}

std::string StreamWatch::cancelled() const { return "The send was cancelled after " + counted(count) + "; the stream was closed there."; }

}  // namespace tessaline
