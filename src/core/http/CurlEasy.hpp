#pragma once

#include "core/http/TransferControl.hpp"
#include "core/http/URLComponents.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessaline {

// One libcurl easy handle, performing HTTP(S) exchanges one after another with the settings
// every send shares: no cookies, no cache, compressed responses asked for and decoded, http
// and https only, HTTP/2 where a TLS server offers it, and a failed exchange reported as a
// text, never thrown. Those settings are made once, when the handle is created; every option
// a request decides is set for each exchange, to libcurl's default where the request leaves
// it out, so that nothing of one exchange goes with the next. (Resetting the handle and
// making every setting again cost a small send 1 to 3 us when the host shares its CPU.) What
// the handle keeps between exchanges is libcurl's CA store, and, through the engine's share
// handle, connections, TLS sessions and DNS answers (see CurlEngine).
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
        // `url` already taken apart (see URLComponents), which libcurl then need not parse.
        const URLComponents* parsedURL = nullptr;
        // Sent in order; a repeated name is sent again, never replaced. A header the caller
        // names replaces libcurl's own of that name ("Accept", "Accept-Encoding", "Expect", ...);
        // without a Content-Type here, none is sent.
        std::vector<Header> headers{};
        // The caller's bytes, not a copy, as an upload may be large: they must outlive perform().
        std::optional<std::string_view> body{};
        bool followRedirects = false;  // when false, a 3xx response is itself the answer
        // Seconds that connecting, and any stretch in which no data moves, may last; a
        // non-positive time-out means 60 s. Data moves when a header line arrives whole, when
        // body bytes arrive and when request bytes go out. The whole exchange may last
        // `totalTimeFactor` times as long, so that a peer sending a trickle cannot hold it for
        // ever. Each limit fails the exchange with a text of its own, naming the limit in ms:
        // "No connection was made within N ms, the request's time-out.", "No data arrived for
        // N ms, the request's time-out." and "The exchange was stopped after N ms, four times
        // the request's time-out.".
        double timeout = 60;
    };

    struct Response {
        long status = 0;  // 0 when the exchange failed
        // The final response's fields in arrival order: never those of a 1xx interim response
        // or of a redirect that was followed. A name that repeats (ignoring ASCII case) is
        // merged into one field, in its first spelling, with the values joined by ", ".
        std::vector<Header> headers{};
        std::string body{};  // decoded from its Content-Encoding; its first `bodyLimit` bytes
        std::uint64_t bodyBytes = 0;  // how many decoded bytes arrived, kept or not
        // Set when the exchange failed, and then status, headers and body are empty: libcurl's
        // specific text for the failure ("Failed to connect to ...") when it gave one, else
        // the general text of its result code.
        std::optional<std::string> error{};
        // Set for a streamed response (see StreamFormat): why the exchange ended, the stream's
        // end or the send's own (StreamWatch's texts). A stream is never a failure for having
        // stayed open: it ends after a quiet spell, at its bounds or at the whole exchange's,
        // and a cancel after its first event keeps what came.
        std::optional<std::string> streamEnd{};

        bool operator==(const Response&) const = default;
    };

    // What every exchange of the process has in common; the engine owns it, and it outlives
    // the handle.
    struct Context {
        void* share = nullptr;  // CURLSH*
        const char* caFile = nullptr;  // null: libcurl's default bundle
        const char* caDirectory = nullptr;  // null: libcurl's default folder
    };

    static constexpr double defaultTimeout = 60;
    static constexpr int totalTimeFactor = 4;
    // A response body is kept up to this size, which holds any JSON document an agent can
    // read (its replies are cut to 20000 characters) and keeps a 25-entry history file small
    // enough to load at once; the rest is read and counted.
    static constexpr std::size_t bodyLimit = 10 << 20;
    // Redirects followed before the exchange fails: as many as any browser follows.
    static constexpr long maximumRedirects = 20;
    // What the client calls itself, on sends without a User-Agent of their own and on its
    // own OAuth 2 posts.
    static constexpr std::string_view userAgent = "Tessaline/1.0";
    // The error of an exchange its caller cancelled.
    static constexpr std::string_view cancelledText = "The request was cancelled.";

    // Throws std::bad_alloc when libcurl cannot allocate its handles, Error when it cannot be
    // loaded.
    explicit CurlEasy(const Context& context);
    ~CurlEasy();
    CurlEasy(const CurlEasy&) = delete;
    CurlEasy& operator=(const CurlEasy&) = delete;

    // Blocks until the exchange ends. libcurl's own "Expect: 100-continue" pause before a
    // large body is left out, as no other client makes it; a request that sets Expect itself
    // gets the interim response handled. A response that ends inside its header block is a
    // failure ("The connection closed inside the response's header block."), never an answer,
    // whatever fields came before the cut.
    //
    // `control` is looked at every `controlInterval` on the calling thread: a cancelled
    // exchange closes its connection at once (over HTTP/2, whose connection other exchanges
    // may share, it resets its stream instead) and fails with `cancelledText`; one cancelled
    // before it starts never connects.
    //
    // With `loopbackOnly`, every host but this machine's loopback addresses is refused, before
    // any name lookup.
    Response perform(const Request& request, bool loopbackOnly, const TransferControl& control = {});

    static constexpr std::chrono::milliseconds controlInterval{50};

private:
    void* handle;  // CURL*, kept out of this header
    void* multi;  // CURLM*, through which `handle` runs, so that its caller keeps control
    std::array<char, 256> errorBuffer{};  // CURL_ERROR_SIZE
};

}  // namespace tessaline
