#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct Curl_URL;  // libcurl's CURLU

namespace tessaline {

// An absolute URL taken apart by libcurl's URL parser, which accepts any scheme followed by
// "://". The scheme comes out lower-cased, the host as written ("[::1]" keeps its brackets),
// and the path is "/" when the text has none. Text that leaves the parser is re-assembled by
// it, so it may differ from the input in such details (a bare host gains its "/").
class URLComponents {
public:
    // Absent for text that is not an absolute URL: no scheme, a blank, a port above 65535...
    static std::optional<URLComponents> parse(std::string_view text);

    // Just the scheme of "scheme:rest", by the generic URL syntax (a letter, then letters,
    // digits, "+", "-" or "."), lower-cased; for forms the parser refuses, such as
    // "com.example.app:/callback".
    static std::optional<std::string> schemeOf(std::string_view text);

    URLComponents(const URLComponents& other);
    URLComponents& operator=(const URLComponents& other);
    URLComponents(URLComponents&&) noexcept;
    URLComponents& operator=(URLComponents&&) noexcept;
    ~URLComponents();

    std::string scheme() const;
    // Absent, or empty, for a URL without a host ("file:///x").
    std::optional<std::string> host() const;
    std::optional<std::uint16_t> port() const;
    std::string path() const;
    // Percent-encoded as in the text, without its "?"; absent when there is no "?".
    std::optional<std::string> query() const;

    // Replaces the query with text that must already be percent-encoded; empty removes it.
    void setQuery(std::string_view percentEncoded);

    std::optional<std::string> text() const;

    // The parsed form itself, for CURLOPT_CURLU: an exchange given it takes a copy at its start
    // instead of parsing the text again.
    Curl_URL* curlHandle() const;

private:
    struct Handle;
    explicit URLComponents(std::unique_ptr<Handle> handle);
    std::optional<std::string> part(int which) const;

    std::unique_ptr<Handle> parts;
};

}  // namespace tessaline
