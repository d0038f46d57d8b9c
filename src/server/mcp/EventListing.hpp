#pragma once

#include "core/model/StoredResponse.hpp"

#include <nlohmann/json.hpp>

namespace tessaline::eventListing {

// What the agent sees of a streamed response (its Content-Type names a StreamFormat) that
// did not fail, in place of its body: adds to `summary` "events", the events its recorded body
// holds, in order (at most StreamWatch::eventLimit), and "streamEnd" when the record says why
// the stream ended. Each event has "data", parsed as JSON where it is JSON, else as text; a
// server-sent event also "event", and "id" and "retry" when the stream gave them; a line or
// record that is not JSON has "error": "Not valid JSON."; a cut event has "dataCut"
// ("Only the first 65536 of 70000 bytes of this event's data were kept."), and one that the
// stream ended inside "incomplete" ("The stream ended before this event's blank line.").
// Events are listed while the characters of their data stay within `limit`; when the next
// would pass it, the listing stops there and "eventsCut" says "Only the first 2 of 5 events
// are shown: their data reaches the limit of 20000 characters.".
//
// Returns false, leaving `summary` as it was, for any other response.
bool add(nlohmann::json& summary, const StoredResponse& response, long long limit);

}  // namespace tessaline::eventListing
