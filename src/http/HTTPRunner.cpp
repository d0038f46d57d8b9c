#include "http/HTTPRunner.hpp"

#include "support/CaseInsensitive.hpp"
#include "support/CurlEasy.hpp"

#include <algorithm>
#include <chrono>

namespace tessaline {
namespace {

CurlEasy::Request exchange(const ResolvedRequest& resolved, const APIRequest& original) {
    CurlEasy::Request request{.method = std::string(rawValue(resolved.method)),
                              .url = resolved.url,
                              .headers = resolved.headers,
                              .body = resolved.body,
                              .followRedirects = original.followRedirects,
                              .timeout = original.timeout};
    const bool hasUserAgent = std::any_of(request.headers.begin(), request.headers.end(), [](const auto& header) {
        return caseInsensitive::equal(header.first, "User-Agent");
    });
    if (!hasUserAgent) request.headers.emplace_back("User-Agent", HTTPRunner::userAgent);
    return request;
}

char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Field names are ASCII tokens, so ASCII lower-casing is the whole of it.
bool precedes(const KeyValue& header, const KeyValue& other) {
    return std::lexicographical_compare(header.key.begin(), header.key.end(), other.key.begin(), other.key.end(),
                                        [](char c, char d) { return asciiLower(c) < asciiLower(d); });
}

std::vector<KeyValue> keyValues(const std::vector<CurlEasy::Header>& headers) {
    std::vector<KeyValue> rows;
    rows.reserve(headers.size());
    for (const auto& [name, value] : headers) rows.push_back({.key = name, .value = value});
    return rows;
}

}  // namespace

StoredResponse HTTPRunner::send(const ResolvedRequest& resolved, const APIRequest& original) const {
    const auto request = exchange(resolved, original);
    const auto sentAt = std::chrono::system_clock::now();
    const auto start = std::chrono::steady_clock::now();
    auto answer = CurlEasy().perform(request);
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;

    auto headers = keyValues(answer.headers);
    std::stable_sort(headers.begin(), headers.end(), precedes);
    return {
        .requestID = original.id,
        .sentAt = sentAt,
        .method = resolved.method,
        .url = resolved.url,
        .requestHeaders = keyValues(resolved.headers),
        .requestBody = resolved.bodyText,
        .status = answer.status,
        .headers = std::move(headers),
        .body = std::move(answer.body),
        .duration = duration.count(),
        .error = std::move(answer.error),
    };
}

}  // namespace tessaline
