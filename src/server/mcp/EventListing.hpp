#pragma once

#include "core/http/StreamFormat.hpp"
#include "core/model/StoredResponse.hpp"
#include "core/support/JSONWriter.hpp"

#include <optional>

namespace tessaline::eventListing {

// The format of a streamed response (its Content-Type names a StreamFormat) that did not
// fail, whose events an answer shows in place of its body; none for any other response.
std::optional<StreamFormat> format(const StoredResponse& response);

// Writes the members "events" and, when the listing is cut, "eventsCut" of what the agent sees
// of a streamed response in `format`: the events its recorded body holds, in order (at most
// StreamWatch::eventLimit). Each event has "data", parsed as JSON where it is JSON, else as
// text; a server-sent event also "event", and "id" and "retry" when the stream gave them; a
// line or record that is not JSON has "error": "Not valid JSON."; a cut event has "dataCut"
// ("Only the first 65536 of 70000 bytes of this event's data were kept."), and one that the
// stream ended inside "incomplete" ("The stream ended before this event's blank line.").
// Events are listed while the characters of their data stay within `limit`; when the next
// would pass it, the listing stops there and "eventsCut" says "Only the first 2 of 5 events
// are shown: their data reaches the limit of 20000 characters.".
void write(JSONWriter& writer, const StoredResponse& response, StreamFormat format, long long limit);

}  // namespace tessaline::eventListing
