#include "model/StoredResponse.hpp"

#include "model/WorkspaceCoding.hpp"
#include "support/Base64.hpp"
#include "support/JSONWriter.hpp"
#include "support/Utf8.hpp"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace tessaline {
namespace {

char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// ASCII folding is exact here: no non-ASCII character folds to a letter of "content-type"
// or "json".
std::string asciiLowercased(std::string_view text) {
    std::string lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), asciiLower);
    return lowered;
}

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

std::optional<std::string> StoredResponse::contentType() const {
    const auto found = std::find_if(headers.begin(), headers.end(),
                                    [](const KeyValue& header) { return asciiLowercased(header.key) == "content-type"; });
    if (found == headers.end()) return std::nullopt;
    return found->value;
}

bool StoredResponse::isJSON() const {
    if (const auto type = contentType(); type && asciiLowercased(*type).find("json") != std::string::npos) return true;
    return startsWithJSONBracket(body);
}

nlohmann::json toJSON(const StoredResponse& response) {
    nlohmann::json object{
        {"id", response.id.text()},
        {"requestID", response.requestID.text()},
        {"sentAt", iso8601(response.sentAt)},
        {"method", std::string(rawValue(response.method))},
        {"url", response.url},
        {"requestHeaders", toJSON(response.requestHeaders)},
        {"status", response.status},
        {"headers", toJSON(response.headers)},
        {"body", base64::encode(response.body)},
        {"duration", response.duration},
    };
    if (response.requestBody) object["requestBody"] = *response.requestBody;
    if (response.error) object["error"] = *response.error;
    return object;
}

StoredResponse decodeStoredResponse(const JSONReader& reader) {
    const auto optionalText = [&reader](std::string_view key) -> std::optional<std::string> {
        if (const auto member = reader.optionalMember(key)) return member->string();
        return std::nullopt;
    };
    return {
        .id = reader.member("id").uuid(),
        .requestID = reader.member("requestID").uuid(),
        .sentAt = reader.member("sentAt").date(),
        .method = decodeEnum<HTTPMethod>(reader.member("method")),
        .url = reader.member("url").string(),
        .requestHeaders = decodeKeyValues(reader.member("requestHeaders")),
        .requestBody = optionalText("requestBody"),
        .status = reader.member("status").integer(),
        .headers = decodeKeyValues(reader.member("headers")),
        .body = reader.member("body").data(),
        .duration = reader.member("duration").number(),
        .error = optionalText("error"),
    };
}

std::string encodeHistory(const std::vector<StoredResponse>& responses) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& response : responses) list.push_back(toJSON(response));
    return jsonWriter::write(std::move(list));
}

std::vector<StoredResponse> decodeHistory(std::string_view bytes) {
    const auto document = JSONReader::parse(bytes);
    return JSONReader(document).array(decodeStoredResponse);
}

}  // namespace tessaline
