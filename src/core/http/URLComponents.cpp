#include "core/http/URLComponents.hpp"

#include "core/http/CurlLibrary.hpp"

#include <algorithm>
#include <cctype>

namespace tessaline {

struct URLComponents::Handle {
    explicit Handle(CURLU* parsed) : url(parsed) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { curl().urlCleanup(url); }

    CURLU* url;
};

URLComponents::URLComponents(std::unique_ptr<Handle> handle) : parts(std::move(handle)) {}
URLComponents::URLComponents(const URLComponents& other)
    : parts(std::make_unique<Handle>(curl().urlDup(other.parts->url))) {}
URLComponents& URLComponents::operator=(const URLComponents& other) {
    if (this != &other) parts = std::make_unique<Handle>(curl().urlDup(other.parts->url));
    return *this;
}
URLComponents::URLComponents(URLComponents&&) noexcept = default;
URLComponents& URLComponents::operator=(URLComponents&&) noexcept = default;
URLComponents::~URLComponents() = default;

std::optional<URLComponents> URLComponents::parse(std::string_view text) {
    auto handle = std::make_unique<Handle>(curl().url());
    if (handle->url == nullptr) return std::nullopt;
    const std::string owned(text);
    if (curl().urlSet(handle->url, CURLUPART_URL, owned.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
        return std::nullopt;
    }
    return URLComponents(std::move(handle));
}

std::optional<std::string> URLComponents::schemeOf(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0) return std::nullopt;
    const auto scheme = text.substr(0, colon);
    const auto isSchemeCharacter = [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '+' || c == '-' || c == '.';
    };
    if (std::isalpha(static_cast<unsigned char>(scheme.front())) == 0 ||
        !std::all_of(scheme.begin(), scheme.end(), isSchemeCharacter)) {
        return std::nullopt;
    }
    std::string lowered(scheme);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lowered;
}

std::optional<std::string> URLComponents::part(int which) const {
    char* value = nullptr;
    if (curl().urlGet(parts->url, static_cast<CURLUPart>(which), &value, 0) != CURLUE_OK) return std::nullopt;
    std::string result(value);
    curl().free(value);
    return result;
}

std::string URLComponents::scheme() const { return part(CURLUPART_SCHEME).value_or(""); }
std::optional<std::string> URLComponents::host() const { return part(CURLUPART_HOST); }
std::string URLComponents::path() const { return part(CURLUPART_PATH).value_or("/"); }
std::optional<std::string> URLComponents::query() const { return part(CURLUPART_QUERY); }
std::optional<std::string> URLComponents::text() const { return part(CURLUPART_URL); }
Curl_URL* URLComponents::curlHandle() const { return parts->url; }

std::optional<std::uint16_t> URLComponents::port() const {
    const auto text = part(CURLUPART_PORT);
    if (!text) return std::nullopt;
    // The parser has already refused ports above 65535.
    return static_cast<std::uint16_t>(std::stoul(*text));
}

void URLComponents::setQuery(std::string_view percentEncoded) {
    const std::string owned(percentEncoded);
    curl().urlSet(parts->url, CURLUPART_QUERY, owned.empty() ? nullptr : owned.c_str(), 0);
}

}  // namespace tessaline
