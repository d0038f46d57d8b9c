#include "core/http/URLComponents.hpp"

#include "core/http/CurlLibrary.hpp"
#include "core/support/Hexadecimal.hpp"

#include <algorithm>
#include <cctype>

namespace tessaline {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isUpperHexDigit(char c) { return hexadecimal::upperDigits.find(c) != std::string_view::npos; }

// Decimal digits without a leading zero, at most `digits` of them, of a value up to `limit`.
bool isPlainNumber(std::string_view text, std::size_t digits, unsigned limit) {
    if (text.empty() || text.size() > digits || (text.size() > 1 && text.front() == '0')) return false;
    unsigned value = 0;
    for (const char c : text) {
        if (!isDigit(c)) return false;
        value = value * 10 + static_cast<unsigned>(c - '0');
    }
    return value <= limit;
}

// libcurl reads a host whose every label starts with a digit as an IPv4 address where it can,
// and writes that in dotted decimal ("127.1" and "0x7f.0.0.1" become "127.0.0.1"); it keeps any
// other host of lower-case letters, digits, "-" and ".".
bool isNormalHost(std::string_view host) {
    if (host.empty() || host.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-.") != std::string_view::npos) {
        return false;
    }
    bool numeric = true;
    std::size_t labels = 0;
    for (std::size_t start = 0; start <= host.size(); ++labels) {
        const auto end = std::min(host.find('.', start), host.size());
        const auto label = host.substr(start, end - start);
        if (label.empty()) return false;
        numeric = numeric && isDigit(label.front());
        if (numeric && !isPlainNumber(label, 3, 255)) return false;
        start = end + 1;
    }
    return !numeric || labels == 4;
}

// Path and query bytes that libcurl passes through as they are: letters, digits, the
// unreserved and reserved punctuation but "#", "[" and "]", and escapes in upper case.
bool isNormalTarget(std::string_view target) {
    constexpr std::string_view punctuation = "-._~:/?@!$&'()*+,;=";
    for (std::size_t index = 0; index < target.size(); ++index) {
        const char c = target[index];
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || punctuation.find(c) != std::string_view::npos) continue;
        const bool escape = c == '%' && index + 2 < target.size() && isUpperHexDigit(target[index + 1]) &&
                            isUpperHexDigit(target[index + 2]);
        if (!escape) return false;
        index += 2;
    }
    return true;
}

// A "." or ".." segment, which libcurl removes, or an escaped dot, which some versions read as one.
bool mayHoldDotSegment(std::string_view path) {
    if (path.find("%2E") != std::string_view::npos) return true;
    for (std::size_t start = 1; start <= path.size();) {
        const auto end = std::min(path.find('/', start), path.size());
        const auto segment = path.substr(start, end - start);
        if (segment == "." || segment == "..") return true;
        start = end + 1;
    }
    return false;
}

// Whether libcurl would write `text` back exactly as it is after parsing it, which this tells
// without asking: writing a URL back costs libcurl more than parsing it, and nearly every URL
// sent is already in the form checked here. That is "http" or "https", no user, a host as
// isNormalHost() has it, a port without leading zeros that is not the scheme's default, a path
// without dot segments, a query that is not empty, and no fragment. Any other URL may come
// back rewritten, and is asked for.
bool readsBackUnchanged(std::string_view text) {
    const bool secure = text.starts_with("https://");
    if (!secure && !text.starts_with("http://")) return false;
    const auto rest = text.substr(secure ? 8 : 7);
    const auto pathStart = rest.find('/');
    if (pathStart == std::string_view::npos) return false;
    const auto authority = rest.substr(0, pathStart);
    const auto colon = authority.find(':');
    if (!isNormalHost(authority.substr(0, colon))) return false;
    if (colon != std::string_view::npos) {
        const auto port = authority.substr(colon + 1);
        if (!isPlainNumber(port, 5, 65535) || port == (secure ? "443" : "80")) return false;
    }
    const auto target = rest.substr(pathStart);
    const auto question = target.find('?');
    if (!isNormalTarget(target) || mayHoldDotSegment(target.substr(0, question))) return false;
    return question == std::string_view::npos || question + 1 < target.size();
}

}  // namespace

struct URLComponents::Handle {
    explicit Handle(CURLU* parsed, std::optional<std::string> text = std::nullopt)
        : url(parsed), asWritten(std::move(text)) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { curl().urlCleanup(url); }

    CURLU* url;
    std::optional<std::string> asWritten;  // the text parsed, when libcurl would write it back unchanged
};

URLComponents::URLComponents(std::unique_ptr<Handle> handle) : parts(std::move(handle)) {}
URLComponents::URLComponents(const URLComponents& other)
    : parts(std::make_unique<Handle>(curl().urlDup(other.parts->url), other.parts->asWritten)) {}
URLComponents& URLComponents::operator=(const URLComponents& other) {
    if (this != &other) parts = std::make_unique<Handle>(curl().urlDup(other.parts->url), other.parts->asWritten);
    return *this;
}
URLComponents::URLComponents(URLComponents&&) noexcept = default;
URLComponents& URLComponents::operator=(URLComponents&&) noexcept = default;
URLComponents::~URLComponents() = default;

std::optional<URLComponents> URLComponents::parse(std::string_view text) {
    auto handle = std::make_unique<Handle>(curl().url());
    if (handle->url == nullptr) return std::nullopt;
    std::string owned(text);
    if (curl().urlSet(handle->url, CURLUPART_URL, owned.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
        return std::nullopt;
    }
    if (readsBackUnchanged(owned)) handle->asWritten = std::move(owned);
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
std::optional<std::string> URLComponents::text() const {
    if (parts->asWritten) return parts->asWritten;
    return part(CURLUPART_URL);
}
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
    parts->asWritten.reset();
}

}  // namespace tessaline
