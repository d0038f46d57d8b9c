#include "core/http/CurlEasy.hpp"

#include "core/http/CurlLibrary.hpp"
#include "core/http/StreamWatch.hpp"
#include "core/http/URLComponents.hpp"
#include "core/support/AsciiCase.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <new>
#include <string_view>

namespace tessaline {
namespace {

static_assert(CURL_ERROR_SIZE == 256, "CurlEasy's error buffer must hold CURL_ERROR_SIZE bytes");

// A longer time-out than this (eleven days) is as good as none, and its milliseconds, four
// times over, fit libcurl's long and every clock.
constexpr double longestTimeout = 1'000'000;

constexpr std::string_view noBody = "";

bool hasHeader(const std::vector<CurlEasy::Header>& headers, std::string_view name) {
    return std::any_of(headers.begin(), headers.end(),
                       [name](const CurlEasy::Header& header) { return asciiCase::equal(header.first, name); });
}

// The request's header lines as libcurl reads them. Their texts share one buffer and the list's
// nodes one array, where curl_slist_append would allocate a node and a copy for every line;
// libcurl only reads the list, and only during the exchange.
class HeaderLines {
public:
    // "Name: value" lines; an empty value is written "Name;", which libcurl sends as "Name:"
    // (a bare "Name:" would tell it to drop the header instead).
    explicit HeaderLines(const std::vector<CurlEasy::Header>& headers) {
        for (const auto& [name, value] : headers) add(name, value.empty() ? ";" : ": ", value);
        if (!hasHeader(headers, "Expect")) add("Expect", ":", "");
        // libcurl would label any body it sends as a form; a body goes with the type its
        // request names, or none.
        if (!hasHeader(headers, "Content-Type")) add("Content-Type", ":", "");
        nodes.resize(count);
        char* line = texts.data();
        for (std::size_t index = 0; index < count; ++index, line += std::strlen(line) + 1) {
            nodes[index] = {.data = line, .next = index + 1 < count ? &nodes[index + 1] : nullptr};
        }
    }
    HeaderLines(const HeaderLines&) = delete;
    HeaderLines& operator=(const HeaderLines&) = delete;

    curl_slist* list() { return nodes.empty() ? nullptr : nodes.data(); }

private:
    void add(std::string_view name, std::string_view separator, std::string_view value) {
        const auto start = texts.size();
        texts.append(name).append(separator).append(value);
        texts.resize(std::min(texts.size(), texts.find('\0', start)));  // a C string ends at its first NUL
        texts += '\0';
        ++count;
    }

    std::string texts;  // the lines, each ended by a NUL
    std::size_t count = 0;
    std::vector<curl_slist> nodes;
};

using SteadyClock = std::chrono::steady_clock;

std::optional<std::uint64_t> announcedLength(std::string_view value) {
    std::uint64_t length = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), length);
    if (error != std::errc() || end != value.data() + value.size()) return std::nullopt;
    return length;
}

// A field's value without the blanks around it and the line's end.
std::string_view trimmedValue(std::string_view value) {
    const auto first = value.find_first_not_of(" \t");
    const auto last = value.find_last_not_of(" \t\r\n");
    return first > last || last == std::string_view::npos ? std::string_view() : value.substr(first, last + 1 - first);
}

// What arrives during one exchange, filled in by libcurl's callbacks.
struct Reception {
    std::string body;
    std::uint64_t bodyBytes = 0;
    // How far the latest response's header block has come: its status line and its empty line.
    enum class Head { none, open, closed } head = Head::none;
    // The latest response's fields, repeats merged; trailers, which come after its header
    // block, are left out.
    std::vector<CurlEasy::Header> fields;
    std::size_t lastField = 0;  // the field the latest line went into, which a folded line goes on
    std::optional<std::uint64_t> announced;  // the latest response's Content-Length
    bool encoded = false;  // whether the latest response has a Content-Encoding
    bool connected = false;  // whether a connection for the exchange has been made
    std::optional<std::string> contentType;  // the latest response's
    std::chrono::milliseconds idle{};  // the request's time-out
    std::optional<StreamWatch> stream;  // set once the header block of a streamed response ends

    TransferProgress progress() const {
        return {.responding = head != Head::none,
                .received = bodyBytes,
                .total = encoded ? std::nullopt : announced,
                .events = stream ? std::optional(stream->events()) : std::nullopt};
    }

    // A status line: an interim response, a redirect followed or a proxy's reply to CONNECT
    // may have come before, and none of their fields belongs to the response that now starts.
    void openHead() {
        head = Head::open;
        fields.clear();
        fields.reserve(16);  // a typical response's fields: one block, not one for each doubling
        announced.reset();
        encoded = false;
        contentType.reset();
        stream.reset();
    }

    void endHead() {
        head = Head::closed;
        if (const auto format = contentType ? streamFormat(*contentType) : std::nullopt) stream.emplace(*format, idle, SteadyClock::now());
    }

    // A line of the header block after the status line. A name that repeats (ignoring ASCII
    // case) keeps its first spelling, with the values joined by ", ".
    void addField(std::string_view line) {
        if (line.front() == ' ' || line.front() == '\t') return unfold(line);
        const auto colon = line.find(':');
        if (colon == std::string_view::npos) return;  // not a field, and libcurl went on past it
        const auto name = line.substr(0, colon);
        const auto value = trimmedValue(line.substr(colon + 1));
        if (asciiCase::equal(name, "Content-Type")) {
            contentType = std::string(value);
        } else if (asciiCase::equal(name, "Content-Length")) {
            announced = announcedLength(value);
        } else if (asciiCase::equal(name, "Content-Encoding")) {
            encoded = !value.empty() && !asciiCase::equal(value, "identity");
        }
        const auto same = std::find_if(fields.begin(), fields.end(),
                                       [name](const CurlEasy::Header& field) { return asciiCase::equal(field.first, name); });
        lastField = static_cast<std::size_t>(same - fields.begin());
        if (same == fields.end()) {
            fields.emplace_back(name, value);
        } else {
            same->second.append(", ").append(value);
        }
    }

    // An obsolete folded line continues the field before it, its leading blanks shrunk to the
    // last one.
    void unfold(std::string_view line) {
        const auto text = trimmedValue(line);
        if (fields.empty() || text.empty()) return;
        fields[lastField].second.append(text.data() - 1, text.size() + 1);
    }
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
        if (into.stream) into.stream->receive({data, length}, SteadyClock::now());
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
        into.openHead();
    } else if (line == "\r\n" || line == "\n") {
        into.endHead();
    } else if (into.head == Reception::Head::open && !line.empty()) {
        into.addField(line);
    }
    return size * count;
}

// Called once a connection is up (made or reused), before the request goes out on it.
int noteConnected(void* reception, char*, char*, int, int) {
    static_cast<Reception*>(reception)->connected = true;
    return CURL_PREREQFUNC_OK;
}

bool isLoopback(const in_addr& address) { return (ntohl(address.s_addr) >> 24) == 127; }
bool isLoopback(const in6_addr& address) { return IN6_IS_ADDR_LOOPBACK(&address); }

bool isLoopback(const sockaddr* address) {
    if (address->sa_family == AF_INET) return isLoopback(reinterpret_cast<const sockaddr_in*>(address)->sin_addr);
    return address->sa_family == AF_INET6 && isLoopback(reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
}

bool isLoopbackHost(std::string host) {
    if (asciiCase::equal(host, "localhost")) return true;
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

// Sets all five method options on every exchange: the handle keeps what the last one set.
void setMethod(CURL* handle, const CurlEasy::Request& request) {
    const bool isHead = request.method == "HEAD";
    const bool isPost = request.method == "POST";
    // A POST always sends a body, if only an empty one, so that it carries "Content-Length: 0".
    const bool sendsBody = isPost || (request.body && !isHead);
    // Never a null pointer, not even for a request without a body or with an empty one (whose
    // view may hold none): with none, libcurl would read a body from stdin.
    const std::string_view body = sendsBody && request.body && !request.body->empty() ? *request.body : noBody;
    curl().easySetopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl().easySetopt(handle, CURLOPT_POSTFIELDS, body.data());  // which makes it a POST
    if (!sendsBody) curl().easySetopt(handle, CURLOPT_HTTPGET, 1L);  // a GET, without the body
    curl().easySetopt(handle, CURLOPT_NOBODY, isHead ? 1L : 0L);
    // POST stays libcurl's own method instead, so that a followed 301, 302 or 303 turns it
    // into GET as browsers do.
    const bool custom = !isHead && !isPost && (request.method != "GET" || sendsBody);
    curl().easySetopt(handle, CURLOPT_CUSTOMREQUEST, custom ? request.method.c_str() : nullptr);
}

std::chrono::milliseconds idleTime(double timeout) {
    const double seconds = std::min(timeout > 0 ? timeout : CurlEasy::defaultTimeout, longestTimeout);
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(seconds * 1000)));
}

// The time-outs of one exchange, kept on its own thread rather than by libcurl, whose idle
// check counts whole seconds and averages bytes over them.
class Limits {
public:
    explicit Limits(double timeout) : idle(idleTime(timeout)), lastMoved(start) {}

    // libcurl gets the connect time-out too, so that a host with several addresses has each
    // tried in its share of it; it never runs out before ours, which started first.
    void set(CURL* handle) const { curl().easySetopt(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(idle.count())); }

    // Takes in what the exchange has done since the last look: a connection made, or bytes
    // moved in either direction.
    void look(CURL* handle, const Reception& reception, SteadyClock::time_point now) {
        std::array<curl_off_t, 3> counts{};
        long headerBytes = 0;
        curl().easyGetinfo(handle, CURLINFO_HEADER_SIZE, &headerBytes);
        counts[0] = headerBytes;
        curl().easyGetinfo(handle, CURLINFO_SIZE_DOWNLOAD_T, &counts[1]);
        curl().easyGetinfo(handle, CURLINFO_SIZE_UPLOAD_T, &counts[2]);
        if (counts != moved || reception.connected != connected) lastMoved = now;
        moved = counts;
        connected = reception.connected;
    }

    SteadyClock::time_point deadline() const { return std::min(idleDeadline(), totalDeadline()); }

    // The failure of the limit that ran out first by `now`, if one has.
    std::optional<std::string> passed(SteadyClock::time_point now) const {
        if (now >= idleDeadline() && idleDeadline() < totalDeadline()) return idleText();
        static_assert(CurlEasy::totalTimeFactor == 4, "the text below names the factor");
        if (now >= totalDeadline()) {
            return "The exchange was stopped after " + std::to_string((idle * CurlEasy::totalTimeFactor).count()) +
                   " ms, four times the request's time-out.";
        }
        return std::nullopt;
    }

    std::string idleText() const {
        const std::string ms = std::to_string(idle.count());
        if (!connected) return "No connection was made within " + ms + " ms, the request's time-out.";
        return "No data arrived for " + ms + " ms, the request's time-out.";
    }

private:
    SteadyClock::time_point idleDeadline() const { return lastMoved + idle; }
    SteadyClock::time_point totalDeadline() const { return start + idle * CurlEasy::totalTimeFactor; }

    const std::chrono::milliseconds idle;
    const SteadyClock::time_point start = SteadyClock::now();
    SteadyClock::time_point lastMoved;
    std::array<curl_off_t, 3> moved{};  // header, body and request bytes at the last look
    bool connected = false;
};

// The settings every exchange of a handle shares, made when the handle is created.
void configureShared(CURL* handle, const CurlEasy::Context& context, char* errors) {
    curl().easySetopt(handle, CURLOPT_SHARE, context.share);
    if (context.caFile != nullptr) curl().easySetopt(handle, CURLOPT_CAINFO, context.caFile);
    if (context.caDirectory != nullptr) curl().easySetopt(handle, CURLOPT_CAPATH, context.caDirectory);
    curl().easySetopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl().easySetopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl().easySetopt(handle, CURLOPT_NOSIGNAL, 1L);  // time-outs must not raise signals in a threaded program
    curl().easySetopt(handle, CURLOPT_ERRORBUFFER, errors);
    curl().easySetopt(handle, CURLOPT_ACCEPT_ENCODING, "");  // every encoding this libcurl decodes
    curl().easySetopt(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_2TLS);  // HTTP/2 where TLS's ALPN offers it
    curl().easySetopt(handle, CURLOPT_MAXREDIRS, CurlEasy::maximumRedirects);
    curl().easySetopt(handle, CURLOPT_WRITEFUNCTION, receiveBody);
    curl().easySetopt(handle, CURLOPT_HEADERFUNCTION, receiveHeader);
    curl().easySetopt(handle, CURLOPT_PREREQFUNCTION, noteConnected);
}

// The options a request decides, every one of them set for each exchange.
void configure(CURL* handle, const CurlEasy::Request& request, bool loopbackOnly, curl_slist* headers,
               Reception& reception) {
    const URLComponents* parsed = request.parsedURL;
    curl().easySetopt(handle, CURLOPT_URL, parsed != nullptr ? nullptr : request.url.c_str());
    curl().easySetopt(handle, CURLOPT_CURLU, parsed != nullptr ? parsed->curlHandle() : nullptr);
    curl().easySetopt(handle, CURLOPT_FOLLOWLOCATION, request.followRedirects ? 1L : 0L);
    curl().easySetopt(handle, CURLOPT_HTTPHEADER, headers);
    curl().easySetopt(handle, CURLOPT_WRITEDATA, &reception);
    curl().easySetopt(handle, CURLOPT_HEADERDATA, &reception);
    curl().easySetopt(handle, CURLOPT_PREREQDATA, &reception);
    curl().easySetopt(handle, CURLOPT_OPENSOCKETFUNCTION, loopbackOnly ? openLoopbackSocket : nullptr);
    setMethod(handle, request);
}

// Keeps an easy handle in a multi handle for one exchange. Taking it out ends the exchange
// there: a connection in the middle of a response is closed, a finished one kept for reuse.
class Attachment {
public:
    Attachment(CURLM* into, CURL* attached) : multi(into), handle(attached) {
        if (curl().multiAddHandle(multi, handle) != CURLM_OK) throw std::bad_alloc();
    }
    ~Attachment() { curl().multiRemoveHandle(multi, handle); }
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;

private:
    CURLM* const multi;
    CURL* const handle;
};

bool isCancelled(const TransferControl& control) { return control.cancelled != nullptr && control.cancelled->load(); }

// libcurl passes on the readability of a watched descriptor but not its hang-up, after which
// its poll would return at once, again and again: the descriptor is asked directly.
bool isReadyOrClosed(int descriptor) {
    pollfd entry{.fd = descriptor, .events = POLLIN, .revents = 0};
    return ::poll(&entry, 1, 0) > 0;
}

// How an exchange ended: libcurl's result, our own failure that stopped it, or why we ended a
// streamed response that had said enough.
struct Ending {
    CURLcode result = CURLE_OK;
    std::optional<std::string> stopped{};
    std::optional<std::string> streamEnd{};
};

// A cancel keeps the events that arrived, as a response; a stream without any is cancelled
// like any other exchange.
Ending cancelled(const Reception& reception) {
    if (reception.stream && reception.stream->events() > 0) return {.streamEnd = reception.stream->cancelled()};
    return {.stopped = std::string(CurlEasy::cancelledText)};
}

// A stream is closed before the idle time-out (see StreamWatch), so a limit that runs out
// during one is the whole exchange's.
Ending limitPassed(const Reception& reception, std::string failure) {
    if (reception.stream) return {.streamEnd = reception.stream->overran()};
    return {.stopped = std::move(failure)};
}

CURLcode result(CURLM* multi) {
    int left = 0;
    while (const CURLMsg* message = curl().multiInfoRead(multi, &left)) {
        if (message->msg == CURLMSG_DONE) return message->data.result;
    }
    return CURLE_OK;
}

// Drives the exchange attached to `multi` until it ends, waking at least every
// controlInterval to look at the cancel flag and the limits and to report progress.
Ending run(CURLM* multi, CURL* handle, const Reception& reception, Limits& limits, const TransferControl& control) {
    curl_waitfd watch{.fd = control.watched, .events = CURL_WAIT_POLLIN, .revents = 0};
    unsigned int watching = control.watched >= 0 ? 1 : 0;
    for (auto reported = SteadyClock::now();;) {
        int running = 0;
        if (const CURLMcode code = curl().multiPerform(multi, &running); code != CURLM_OK) {
            return {.stopped = curl().multiStrerror(code)};
        }
        limits.look(handle, reception, SteadyClock::now());
        if (running == 0) return {.result = result(multi)};
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(limits.deadline() - SteadyClock::now());
        const auto timeout = std::clamp(wait, std::chrono::milliseconds(0), CurlEasy::controlInterval);
        int events = 0;
        if (const CURLMcode code = curl().multiPoll(multi, watching != 0 ? &watch : nullptr, watching, static_cast<int>(timeout.count()), &events);
            code != CURLM_OK) {
            return {.stopped = curl().multiStrerror(code)};
        }
        if (watching != 0 && events > 0 && isReadyOrClosed(control.watched)) {
            watching = 0;
            control.watchedReady();
        }
        const auto now = SteadyClock::now();
        if (isCancelled(control)) return cancelled(reception);
        if (auto enough = reception.stream ? reception.stream->closing(now, reception.bodyBytes) : std::nullopt) {
            return {.streamEnd = std::move(enough)};
        }
        if (auto failure = limits.passed(now)) return limitPassed(reception, std::move(*failure));
        if (control.progress && now - reported >= CurlEasy::controlInterval) {
            control.progress(reception.progress());
            reported = now;
        }
    }
}

// The connection closed before the response's end, as its length or chunks tell it.
bool brokeOff(CURLcode result) { return result == CURLE_PARTIAL_FILE || result == CURLE_RECV_ERROR; }

// The closing of the connection is what ends a response that libcurl takes for whole or cut
// short; any field before that, such as a length, must not make it look like a body's end.
bool closedInsideHeaderBlock(CURLcode result, const Reception& reception) {
    return (result == CURLE_OK || brokeOff(result)) && reception.head != Reception::Head::closed;
}

}  // namespace

CurlEasy::CurlEasy(const Context& context) : handle(curl().easyInit()), multi(curl().multiInit()) {
    if (handle == nullptr || multi == nullptr) {
        curl().multiCleanup(multi);
        curl().easyCleanup(handle);
        throw std::bad_alloc();
    }
    configureShared(handle, context, errorBuffer.data());
}

CurlEasy::~CurlEasy() {
    curl().multiCleanup(multi);
    curl().easyCleanup(handle);
}

CurlEasy::Response CurlEasy::perform(const Request& request, bool loopbackOnly, const TransferControl& control) {
    if (loopbackOnly) {
        if (const auto host = refusedHost(request.url)) {
            return {.error = "Sending to \u201c" + *host + "\u201d is switched off: only loopback addresses may be reached."};
        }
    }
    if (isCancelled(control)) return {.error = std::string(cancelledText)};
    errorBuffer[0] = '\0';
    Reception reception;
    reception.idle = idleTime(request.timeout);
    HeaderLines headers(request.headers);
    configure(handle, request, loopbackOnly, headers.list(), reception);
    Limits limits(request.timeout);
    limits.set(handle);
    const Attachment attachment(multi, handle);
    auto ending = run(multi, handle, reception, limits, control);
    if (ending.stopped) return {.error = std::move(ending.stopped)};
    if (ending.result == CURLE_OPERATION_TIMEDOUT) return {.error = limits.idleText()};
    if (closedInsideHeaderBlock(ending.result, reception)) return {.error = "The connection closed inside the response's header block."};
    if (reception.stream && !ending.streamEnd && (ending.result == CURLE_OK || brokeOff(ending.result))) {
        ending.streamEnd = reception.stream->ended(ending.result != CURLE_OK);
    }
    if (ending.result != CURLE_OK && !ending.streamEnd) {
        return {.error = errorBuffer[0] != '\0' ? std::string(errorBuffer.data()) : curl().easyStrerror(ending.result)};
    }
    Response response{.body = std::move(reception.body), .bodyBytes = reception.bodyBytes, .streamEnd = std::move(ending.streamEnd)};
    curl().easyGetinfo(handle, CURLINFO_RESPONSE_CODE, &response.status);
    response.headers = std::move(reception.fields);
    return response;
}

}  // namespace tessaline
