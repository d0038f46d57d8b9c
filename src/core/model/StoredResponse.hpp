#pragma once

#include "core/model/HTTPMethod.hpp"
#include "core/model/KeyValue.hpp"
#include "core/support/Date.hpp"
#include "core/support/JSONReader.hpp"
#include "core/support/JSONWriter.hpp"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

// One recorded exchange: the request as it was actually sent and the server's answer. A
// transport failure is recorded too, with status 0, no headers, an empty body and `error`
// set; any HTTP answer, whatever its status, has no `error`.
struct StoredResponse {
    Uuid id = Uuid::random();  // this history entry, new for every send
    Uuid requestID{};  // the saved request that was sent
    Date sentAt{};
    HTTPMethod method = HTTPMethod::get;
    std::string url{};  // absolute, query included
    std::vector<KeyValue> requestHeaders{};
    std::optional<std::string> requestBody{};  // readable rendering of the body sent
    std::int64_t status = 0;
    std::vector<KeyValue> headers{};  // sorted by lower-cased name
    std::string body{};  // raw bytes, at most the HTTP client's limit
    // Set when the body was cut at that limit: how many bytes arrived.
    std::optional<std::int64_t> bodyBytes{};
    double duration = 0;  // seconds
    std::optional<std::string> error{};
    // A streamed response's: why its exchange ended ("The server ended the stream after 5
    // events.", "The stream was still open with no event for 5000 ms; the send ended there.").
    std::optional<std::string> streamEnd{};

    // The body as UTF-8 text, each invalid sequence replaced by U+FFFD.
    std::string bodyText() const;
    // The value of the first "Content-Type" header, the name compared ignoring case.
    std::optional<std::string> contentType() const;
    // The content type mentions "json", or, failing that, the body starts with "{" or "["
    // after white space.
    bool isJSON() const;

    bool operator==(const StoredResponse&) const = default;
};

// The persisted form: keys are the field names, `sentAt` ISO 8601, `body` standard Base64,
// absent optionals left out.
void write(JSONWriter& writer, const StoredResponse& response);
StoredResponse decodeStoredResponse(const JSONReader& reader);

// A history file: a JSON list of responses, written by the shared writer.
std::string encodeHistory(const std::vector<StoredResponse>& responses);
// Throws DecodingError.
std::vector<StoredResponse> decodeHistory(std::string_view bytes);

}  // namespace tessaline
