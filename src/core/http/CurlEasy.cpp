#include "core/http/CurlEasy.hpp"

#include "core/http/CurlLibrary.hpp"
#include "core/http/URLComponents.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <new>
#include <string_view>

namespace tessaline {
namespace {

static_assert(CURL_ERROR_SIZE == 256, "CurlEasy's error buffer must hold CURL_ERROR_SIZE bytes");

// libcurl's clocks count milliseconds in 64 bits, and its low-speed check multiplies seconds
// by 1000 in a long: a longer time-out than this is as good as none and overflows nothing.
constexpr double longestTimeout = 1'000'000;

using HeaderList = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

const std::string noBody;

bool hasHeader(const std::vector<CurlEasy::Header>& headers, const char* name) {
    return std::any_of(headers.begin(), headers.end(),
                       [name](const CurlEasy::Header& header) { return curl().strequal(header.first.c_str(), name) != 0; });
}

// "Name: value" lines; an empty value is written "Name;", which libcurl sends as "Name:"
// (a bare "Name:" would tell it to drop the header instead).
HeaderList headerList(const std::vector<CurlEasy::Header>& headers) {
    HeaderList list(nullptr, curl().slistFreeAll);
    const auto append = [&list](const std::string& line) {
        curl_slist* head = curl().slistAppend(list.get(), line.c_str());
        if (head == nullptr) throw std::bad_alloc();
        if (!list) list.reset(head);  // later lines go to the end of the same list
    };
    for (const auto& [name, value] : headers) append(value.empty() ? name + ";" : name + ": " + value);
    if (!hasHeader(headers, "Expect")) append("Expect:");
    // libcurl would label any body it sends as a form; a body goes with the type its request
    // names, or none.
    if (!hasHeader(headers, "Content-Type")) append("Content-Type:");
    return list;
}

// What arrives during one exchange, filled in by libcurl's callbacks.
struct Reception {
    std::string body;
    std::uint64_t bodyBytes = 0;
    // Whether the header block of the latest response ended with its empty line.
    bool headerComplete = false;
};

// Keeps the body's first bodyLimit bytes and counts the rest. The buffer grows by doubling up
// to the limit and never past it, so memory stays under the limit plus libcurl's own buffers.
std::size_t receiveBody(char* data, std::size_t size, std::size_t count, void* reception) {
    auto& into = *static_cast<Reception*>(reception);
    const std::size_t length = size * count;
    into.bodyBytes += length;
    const std::size_t kept = std::min(length, CurlEasy::bodyLimit - into.body.size());
    try {
        const std::size_t needed = into.body.size() + kept;
        if (needed > into.body.capacity()) {
            into.body.reserve(std::min(CurlEasy::bodyLimit, std::max(needed, 2 * into.body.capacity())));
        }
        into.body.append(data, kept);
        return length;
    } catch (const std::bad_alloc&) {
        return 0;  // a short count makes libcurl end the exchange with a write error
    }
}

// libcurl hands over every header line of every response, its status line first and its
// empty line last (also for HTTP/2, whose fields it writes out as lines).
std::size_t receiveHeader(char* data, std::size_t size, std::size_t count, void* reception) {
    auto& into = *static_cast<Reception*>(reception);
    const std::string_view line(data, size * count);
    if (line.starts_with("HTTP/")) {
        into.headerComplete = false;
    } else if (line == "\r\n" || line == "\n") {
        into.headerComplete = true;
    }
    return size * count;
}

bool isLoopback(const in_addr& address) { return (ntohl(address.s_addr) >> 24) == 127; }
bool isLoopback(const in6_addr& address) { return IN6_IS_ADDR_LOOPBACK(&address); }

bool isLoopback(const sockaddr* address) {
    if (address->sa_family == AF_INET) return isLoopback(reinterpret_cast<const sockaddr_in*>(address)->sin_addr);
    return address->sa_family == AF_INET6 && isLoopback(reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
}

bool isLoopbackHost(std::string host) {
    if (curl().strequal(host.c_str(), "localhost") != 0) return true;
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    in_addr ipv4{};
    if (::inet_pton(AF_INET, host.c_str(), &ipv4) == 1) return isLoopback(ipv4);
    in6_addr ipv6{};
    return ::inet_pton(AF_INET6, host.c_str(), &ipv6) == 1 && isLoopback(ipv6);
}

// Refuses every address but a loopback one: covers redirects and proxies, whose names the
// check before the exchange never sees.
curl_socket_t openLoopbackSocket(void*, curlsocktype, curl_sockaddr* address) {
    if (!isLoopback(&address->addr)) return CURL_SOCKET_BAD;
    return ::socket(address->family, address->socktype, address->protocol);
}

std::optional<std::string> refusedHost(const std::string& url) {
    const auto components = URLComponents::parse(url);
    const std::string host = components ? components->host().value_or("") : "";
    if (isLoopbackHost(host)) return std::nullopt;
    return host;
}

void setMethod(CURL* handle, const CurlEasy::Request& request) {
    const bool isHead = request.method == "HEAD";
    const bool isPost = request.method == "POST";
    // A POST always sends a body, if only an empty one, so that it carries "Content-Length: 0".
    const bool sendsBody = isPost || (request.body && !isHead);
    if (isHead) {
        curl().easySetopt(handle, CURLOPT_NOBODY, 1L);
    } else if (!isPost && (request.method != "GET" || sendsBody)) {
        // POST stays libcurl's own method instead, so that a followed 301, 302 or 303 turns it
        // into GET as browsers do.
        curl().easySetopt(handle, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    }
    if (sendsBody) {
        // Never a null pointer here: with none, libcurl would read the body from stdin.
        const std::string& body = request.body ? *request.body : noBody;
        curl().easySetopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        curl().easySetopt(handle, CURLOPT_POSTFIELDS, body.c_str());
    }
}

// libcurl rounds its clock's readings to milliseconds piecewise, so it may stop an exchange a
// little before its bound as another clock measures it.
constexpr std::chrono::milliseconds clockSlack{5};

double effectiveTimeout(double timeout) {
    return std::min(timeout > 0 ? timeout : CurlEasy::defaultTimeout, longestTimeout);
}

std::chrono::milliseconds totalTime(double timeout) {
    return std::chrono::milliseconds(static_cast<long>(std::ceil(effectiveTimeout(timeout) * 1000)) * CurlEasy::totalTimeFactor);
}

void setTimeout(CURL* handle, double timeout) {
    const double seconds = effectiveTimeout(timeout);
    curl().easySetopt(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::ceil(seconds * 1000)));
    curl().easySetopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(totalTime(timeout).count()));
    // Less than one byte a second for the whole time-out is the idle limit; libcurl checks it
    // in whole seconds.
    curl().easySetopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl().easySetopt(handle, CURLOPT_LOW_SPEED_TIME, std::max(1L, static_cast<long>(std::ceil(seconds))));
}

void share(CURL* handle, const CurlEasy::Context& context) {
    curl().easySetopt(handle, CURLOPT_SHARE, context.share);
    if (context.caFile != nullptr) curl().easySetopt(handle, CURLOPT_CAINFO, context.caFile);
    if (context.caDirectory != nullptr) curl().easySetopt(handle, CURLOPT_CAPATH, context.caDirectory);
    if (context.loopbackOnly) curl().easySetopt(handle, CURLOPT_OPENSOCKETFUNCTION, openLoopbackSocket);
}

void configure(CURL* handle, const CurlEasy::Request& request, curl_slist* headers, Reception& reception, char* errors) {
    curl().easySetopt(handle, CURLOPT_URL, request.url.c_str());
    curl().easySetopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl().easySetopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl().easySetopt(handle, CURLOPT_NOSIGNAL, 1L);  // time-outs must not raise signals in a threaded program
    curl().easySetopt(handle, CURLOPT_ERRORBUFFER, errors);
    curl().easySetopt(handle, CURLOPT_ACCEPT_ENCODING, "");  // every encoding this libcurl decodes
    curl().easySetopt(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_2TLS);  // HTTP/2 where TLS's ALPN offers it
    curl().easySetopt(handle, CURLOPT_FOLLOWLOCATION, request.followRedirects ? 1L : 0L);
    curl().easySetopt(handle, CURLOPT_MAXREDIRS, CurlEasy::maximumRedirects);
    curl().easySetopt(handle, CURLOPT_HTTPHEADER, headers);
    curl().easySetopt(handle, CURLOPT_WRITEFUNCTION, receiveBody);
    curl().easySetopt(handle, CURLOPT_WRITEDATA, &reception);
    curl().easySetopt(handle, CURLOPT_HEADERFUNCTION, receiveHeader);
    curl().easySetopt(handle, CURLOPT_HEADERDATA, &reception);
    setMethod(handle, request);
    setTimeout(handle, request.timeout);
}

// The last request's own header fields (CURLH_HEADER leaves out 1xx responses, CONNECT
// replies and trailers), repeated names merged.
std::vector<CurlEasy::Header> finalHeaders(CURL* handle) {
    std::vector<CurlEasy::Header> headers;
    curl_header* field = nullptr;
    while ((field = curl().easyNextheader(handle, CURLH_HEADER, -1, field)) != nullptr) {
        const auto same = std::find_if(headers.begin(), headers.end(), [field](const CurlEasy::Header& header) {
            return curl().strequal(header.first.c_str(), field->name) != 0;
        });
        if (same == headers.end()) {
            headers.emplace_back(field->name, field->value);
        } else {
            same->second.append(", ").append(field->value);
        }
    }
    return headers;
}

}  // namespace

CurlEasy::CurlEasy() : handle(curl().easyInit()) {
    if (handle == nullptr) throw std::bad_alloc();
}

CurlEasy::~CurlEasy() { curl().easyCleanup(handle); }

CurlEasy::Response CurlEasy::perform(const Request& request, const Context& context, const TransferControl& /*control*/) {
    if (context.loopbackOnly) {
        if (const auto host = refusedHost(request.url)) {
            return {.error = "Sending to \u201c" + *host + "\u201d is switched off: only loopback addresses may be reached."};
        }
    }
    curl().easyReset(handle);
    errorBuffer[0] = '\0';
    Reception reception;
    const HeaderList headers = headerList(request.headers);
    configure(handle, request, headers.get(), reception, errorBuffer.data());
    share(handle, context);
    const auto start = std::chrono::steady_clock::now();
    const CURLcode result = curl().easyPerform(handle);
    static_assert(totalTimeFactor == 4, "the text below names the factor");
    if (result == CURLE_OPERATION_TIMEDOUT && std::chrono::steady_clock::now() - start + clockSlack >= totalTime(request.timeout)) {
        return {.error = "The exchange was stopped after " + std::to_string(totalTime(request.timeout).count()) +
                         " ms, four times the request's time-out."};
    }
    if (result != CURLE_OK) {
        return {.error = errorBuffer[0] != '\0' ? std::string(errorBuffer.data()) : curl().easyStrerror(result)};
    }
    if (!reception.headerComplete) return {.error = "The connection closed inside the response's header block."};
    Response response{.body = std::move(reception.body), .bodyBytes = reception.bodyBytes};
    curl().easyGetinfo(handle, CURLINFO_RESPONSE_CODE, &response.status);
    response.headers = finalHeaders(handle);
    return response;
}

}  // namespace tessaline
