#include "support/CurlEasy.hpp"

#include "support/CurlLibrary.hpp"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

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
    return list;
}

std::size_t appendBody(char* data, std::size_t size, std::size_t count, void* body) {
    try {
        static_cast<std::string*>(body)->append(data, size * count);
        return size * count;
    } catch (const std::bad_alloc&) {
        return 0;  // a short count makes libcurl end the exchange with a write error
    }
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

void setTimeout(CURL* handle, double timeout) {
    const double seconds = std::min(timeout > 0 ? timeout : CurlEasy::defaultTimeout, longestTimeout);
    curl().easySetopt(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::ceil(seconds * 1000)));
    // Less than one byte a second for the whole time-out is the idle limit; libcurl checks it
    // in whole seconds.
    curl().easySetopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl().easySetopt(handle, CURLOPT_LOW_SPEED_TIME, std::max(1L, static_cast<long>(std::ceil(seconds))));
}

void configure(CURL* handle, const CurlEasy::Request& request, curl_slist* headers, std::string& body, char* errors) {
    curl().easySetopt(handle, CURLOPT_URL, request.url.c_str());
    curl().easySetopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl().easySetopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl().easySetopt(handle, CURLOPT_NOSIGNAL, 1L);  // time-outs must not raise signals in a threaded program
    curl().easySetopt(handle, CURLOPT_ERRORBUFFER, errors);
    curl().easySetopt(handle, CURLOPT_ACCEPT_ENCODING, "");  // every encoding this libcurl decodes
    curl().easySetopt(handle, CURLOPT_FOLLOWLOCATION, request.followRedirects ? 1L : 0L);
    curl().easySetopt(handle, CURLOPT_MAXREDIRS, CurlEasy::maximumRedirects);
    curl().easySetopt(handle, CURLOPT_HTTPHEADER, headers);
    curl().easySetopt(handle, CURLOPT_WRITEFUNCTION, appendBody);
    curl().easySetopt(handle, CURLOPT_WRITEDATA, &body);
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

CurlEasy::CurlEasy() : handle_(curl().easyInit()) {
    if (handle_ == nullptr) throw std::bad_alloc();
}

CurlEasy::~CurlEasy() { curl().easyCleanup(handle_); }

CurlEasy::Response CurlEasy::perform(const Request& request) {
    curl().easyReset(handle_);
    errorBuffer_[0] = '\0';
    Response response;
    const HeaderList headers = headerList(request.headers);
    configure(handle_, request, headers.get(), response.body, errorBuffer_.data());
    if (const CURLcode result = curl().easyPerform(handle_); result != CURLE_OK) {
        return {.error = errorBuffer_[0] != '\0' ? std::string(errorBuffer_.data()) : curl().easyStrerror(result)};
    }
    curl().easyGetinfo(handle_, CURLINFO_RESPONSE_CODE, &response.status);
    response.headers = finalHeaders(handle_);
    return response;
}

}  // namespace tessaline
