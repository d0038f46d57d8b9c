#include "core/http/HTTPRunner.hpp"

#include "core/http/CurlEngine.hpp"
#include "core/support/CaseInsensitive.hpp"
#include "core/support/StableSort.hpp"
#include "core/support/UnicodeText.hpp"

#include <algorithm>
#include <chrono>

namespace tessaline {
namespace {

CurlEasy::Request exchange(const ResolvedRequest& resolved, const APIRequest& original) {
    CurlEasy::Request request{.method = std::string(toString(resolved.method)),
                              .url = resolved.url,
                              .parsedURL = resolved.parsedURL.components ? &*resolved.parsedURL.components : nullptr,
                              .headers = resolved.headers,
                              .body = resolved.body,
                              .followRedirects = original.followRedirects,
                              .timeout = original.timeout};
    const bool hasUserAgent = std::any_of(request.headers.begin(), request.headers.end(), [](const auto& header) {
        return caseInsensitive::equal(header.first, "User-Agent");
    });
    if (!hasUserAgent) request.headers.emplace_back("User-Agent", CurlEasy::userAgent);
    return request;
}

std::vector<KeyValue> keyValues(const std::vector<CurlEasy::Header>& headers) {
    std::vector<KeyValue> rows;
    rows.reserve(headers.size());
    for (const auto& [name, value] : headers) rows.push_back({.key = name, .value = value});
    return rows;
}

// The response's fields as rows ordered by lower-cased name, a stable sort.
std::vector<KeyValue> sortedRows(std::vector<CurlEasy::Header> headers) {
    std::vector<std::pair<std::string, CurlEasy::Header*>> keyed;
    keyed.reserve(headers.size());
    for (auto& header : headers) keyed.emplace_back(unicodeText::lowercased(header.first), &header);
    stableSort(keyed.begin(), keyed.end(), [](const auto& one, const auto& other) { return one.first < other.first; });
    std::vector<KeyValue> rows;
    rows.reserve(keyed.size());
    for (const auto& [key, header] : keyed) rows.push_back({.key = std::move(header->first), .value = std::move(header->second)});
    return rows;
}

std::optional<std::int64_t> cutBodyBytes(const CurlEasy::Response& answer) {
    if (answer.bodyBytes == answer.body.size()) return std::nullopt;
    return static_cast<std::int64_t>(answer.bodyBytes);
}

}  // namespace

StoredResponse HTTPRunner::send(const ResolvedRequest& resolved, const APIRequest& original,
                                const TransferControl& control) const {
    const auto request = exchange(resolved, original);
    const auto sentAt = std::chrono::system_clock::now();
    const auto start = std::chrono::steady_clock::now();
    auto answer = CurlEngine::shared().perform(request, control);
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    const auto bodyBytes = cutBodyBytes(answer);

    return {
        .requestID = original.id,
        .sentAt = sentAt,
        .method = resolved.method,
        .url = resolved.url,
        .requestHeaders = keyValues(resolved.headers),
        .requestBody = resolved.bodyText,
        .status = answer.status,
        .headers = sortedRows(std::move(answer.headers)),
        .body = std::move(answer.body),
        .bodyBytes = bodyBytes,
        .duration = duration.count(),
        .error = std::move(answer.error),
        .streamEnd = std::move(answer.streamEnd),
    };
}

}  // namespace tessaline
