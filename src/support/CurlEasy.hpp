#pragma once

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessaline {

// One libcurl easy handle, performing HTTP(S) exchanges one after another with the settings
// every send shares: no cookies, no cache, compressed responses asked for and decoded, http
// and https only, and a failed exchange reported as a text, never thrown.
//
// A handle belongs to one thread at a time; separate handles may run on separate threads at
// once (libcurl's global set-up is done once, whichever thread comes first).
class CurlEasy {
public:
    // A header field: name and value.
    using Header = std::pair<std::string, std::string>;

    struct Request {
        std::string method = "GET";  // upper-case; POST alone turns into GET on a 301, 302 or 303
        std::string url{};
        // Sent in order; a repeated name is sent again, never replaced. A header the caller
        // names replaces libcurl's own of that name ("Accept", "Accept-Encoding", "Expect", ...).
        std::vector<Header> headers{};
        std::optional<std::string> body{};
        bool followRedirects = false;  // when false, a 3xx response is itself the answer
        // Seconds that connecting, and any stretch in which no data moves, may last; a
        // non-positive time-out means 60 s.
        double timeout = 60;

    };

    struct Response {
        long status = 0;  // 0 when the exchange failed
        // The final response's fields in arrival order: never those of a 1xx interim response
        // or of a redirect that was followed. A name that repeats (ignoring ASCII case) is
        // merged into one field, in its first spelling, with the values joined by ", ".
        std::vector<Header> headers{};
        std::string body{};  // decoded from its Content-Encoding
        // Set when the exchange failed, and then status, headers and body are empty: libcurl's
        // specific text for the failure ("Failed to connect to ...") when it gave one, else
        // the general text of its result code.
        std::optional<std::string> error{};

        bool operator==(const Response&) const = default;
    };

    static constexpr double defaultTimeout = 60;
    // Redirects followed before the exchange fails: as many as any browser follows.
    static constexpr long maximumRedirects = 20;

    // Throws std::bad_alloc when libcurl cannot allocate a handle, Error when it cannot be loaded.
    CurlEasy();
    ~CurlEasy();
    CurlEasy(const CurlEasy&) = delete;
    CurlEasy& operator=(const CurlEasy&) = delete;

    // Blocks until the exchange ends. libcurl's own "Expect: 100-continue" pause before a
    // large body is left out, as no other client makes it; a request that sets Expect itself
    // gets the interim response handled.
    Response perform(const Request& request);

private:
    void* handle_;  // CURL*, kept out of this header
    std::array<char, 256> errorBuffer_{};  // CURL_ERROR_SIZE
};

}  // namespace tessaline
