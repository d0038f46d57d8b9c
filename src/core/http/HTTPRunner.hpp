#pragma once

#include "core/http/CurlEasy.hpp"
#include "core/http/ResolvedRequest.hpp"
#include "core/model/APIRequest.hpp"
#include "core/model/StoredResponse.hpp"

#include <string_view>

namespace tessaline {

// Sends one built request over HTTP(S) through the process's transfer engine (connections
// and TLS sessions reused, nothing a user could see shared between sends: no cookies, no
// cache) and records the exchange. A transport failure (DNS, TLS, refused
// connection, time-out) is not thrown: it comes back as a response with status 0, no headers,
// an empty body and `error` set, so that every send leaves a history entry.
class HTTPRunner {
public:
    // Blocks until the exchange ends; separate sends may run on separate threads at once.
    // A request without a User-Agent of its own (compared ignoring case) is sent with
    // CurlEasy::userAgent.
    // Redirects are followed when `original.followRedirects` says so, and `original.timeout`
    // bounds connecting and any stretch in which no data moves (non-positive: 60 s). The
    // response keeps the final answer's headers, a repeated name merged into one value joined
    // with ", ", sorted by lower-cased name, and its body decoded from its Content-Encoding and
    // cut at CurlEasy::bodyLimit bytes (`bodyBytes` then says how many arrived). The whole
    // exchange may last four times the time-out. `control` may cancel the exchange and hears
    // its progress (see TransferControl); a cancelled one fails with CurlEasy::cancelledText.
    // A streamed response ends as CurlEasy::Response::streamEnd says, and keeps why.
    StoredResponse send(const ResolvedRequest& resolved, const APIRequest& original,
                        const TransferControl& control = {}) const;
};

}  // namespace tessaline
