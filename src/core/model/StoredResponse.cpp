#include "core/model/StoredResponse.hpp"

#include "core/model/WorkspaceCoding.hpp"
#include "core/support/AsciiCase.hpp"
#include "core/support/Base64.hpp"
#include "core/support/Utf8.hpp"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace tessaline {
namespace {

// Whether the text, after Unicode white space, begins with "{" or "[". An ill-formed
// sequence counts as U+FFFD, which is no white space, as in the repaired text.
bool startsWithJSONBracket(std::string_view bytes) {
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto length = static_cast<std::int32_t>(std::min<std::size_t>(bytes.size(), INT32_MAX));
    std::int32_t offset = 0;
    while (offset < length) {
        UChar32 scalar = 0;
        U8_NEXT(data, offset, length, scalar);
        if (scalar == '{' || scalar == '[') return true;
        if (scalar < 0 || !u_isUWhiteSpace(scalar)) return false;
    }
    return false;
}

}  // namespace

std::string StoredResponse::bodyText() const { return utf8::repaired(body); }

// ASCII case is exact in these two: no non-ASCII character folds to a letter of
// "content-type" or "json".
std::optional<std::string> StoredResponse::contentType() const {
    const auto found = std::find_if(headers.begin(), headers.end(),
                                    [](const KeyValue& header) { return asciiCase::equal(header.key, "content-type"); });
    if (found == headers.end()) return std::nullopt;
    return found->value;
}

bool StoredResponse::isJSON() const {
    if (const auto type = contentType(); type && asciiCase::lowered(*type).find("json") != std::string::npos) return true;
    return startsWithJSONBracket(body);
}

void write(JSONWriter& writer, const StoredResponse& response) {
    writer.beginObject();
    writer.key("body"), writer.value(base64::encode(response.body));
    if (response.bodyBytes) writer.key("bodyBytes"), writer.value(*response.bodyBytes);
    writer.key("duration"), writer.value(response.duration);
    if (response.error) writer.key("error"), writer.value(*response.error);
    writer.key("headers"), write(writer, response.headers);
    writer.key("id"), writer.value(response.id.text());
    writer.key("method"), writer.value(toString(response.method));
    if (response.requestBody) writer.key("requestBody"), writer.value(*response.requestBody);
    writer.key("requestHeaders"), write(writer, response.requestHeaders);
    writer.key("requestID"), writer.value(response.requestID.text());
    writer.key("sentAt"), writer.value(iso8601(response.sentAt));
    writer.key("status"), writer.value(response.status);
    if (response.streamEnd) writer.key("streamEnd"), writer.value(*response.streamEnd);
    writer.key("url"), writer.value(response.url);
    writer.endObject();
}

StoredResponse decodeStoredResponse(const JSONReader& reader) {
    return {
        .id = reader.member("id").uuid(),
        .requestID = reader.member("requestID").uuid(),
        .sentAt = reader.member("sentAt").date(),
        .method = decodeEnum<HTTPMethod>(reader.member("method")),
        .url = reader.member("url").string(),
        .requestHeaders = decodeKeyValues(reader.member("requestHeaders")),
        .requestBody = reader.optionalMember("requestBody", &JSONReader::string),
        .status = reader.member("status").integer(),
        .headers = decodeKeyValues(reader.member("headers")),
        .body = reader.member("body").data(),
        .bodyBytes = reader.optionalMember("bodyBytes", &JSONReader::integer),
        .duration = reader.member("duration").number(),
        .error = reader.optionalMember("error", &JSONReader::string),
        .streamEnd = reader.optionalMember("streamEnd", &JSONReader::string),
    };
}

std::string encodeHistory(const std::vector<StoredResponse>& responses) {
    JSONWriter writer;
    writer.beginArray();
    for (const auto& response : responses) write(writer, response);
    writer.endArray();
    return std::move(writer).text();
}

std::vector<StoredResponse> decodeHistory(std::string_view bytes) {
    const auto document = JSONDocument::parse(bytes);
    return JSONReader(document).array(decodeStoredResponse);
}

}  // namespace tessaline
