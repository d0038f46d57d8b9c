#include "core/http/RequestBuilder.hpp"

#include "core/http/URLComponents.hpp"
#include "core/support/AtomicFile.hpp"
#include "core/support/Base64.hpp"
#include "core/support/CaseInsensitive.hpp"
#include "core/support/FormFields.hpp"
#include "core/support/PercentEncoding.hpp"
#include "core/support/Trimmed.hpp"
#include "core/support/Uuid.hpp"
#include "core/variables/RequestBuildError.hpp"

#include <algorithm>
#include <cstdint>
#include <filesystem>

namespace tessaline {
namespace {

using Pair = std::pair<std::string, std::string>;

// The parts of a request that its auth may add to.
struct Parts {
    std::vector<Pair> headers;
    std::vector<Pair> query;
};

struct EncodedBody {
    std::string bytes{};
    std::string text{};  // readable rendering
    std::string contentType{};  // the default
};

// A URL text without a scheme is relative to the collection's base URL (its `baseUrl`
// variable when one is defined, so that an environment can override it), unless it looks
// like a host name already: no leading "/" and a ".".
std::string withBaseURL(const std::string& urlText, const std::optional<APICollection>& collection,
                        const VariableResolver& resolver) {
    if (!collection || urlText.find("://") != std::string::npos) return urlText;
    const std::string base(trimmed(resolver.resolve(resolver.lookup("baseUrl").value_or(collection->baseURL))));
    if (base.empty() || (!urlText.starts_with('/') && urlText.find('.') != std::string::npos)) return urlText;
    const std::string_view stem = base.ends_with('/') ? std::string_view(base).substr(0, base.size() - 1) : base;
    const bool needsSlash = !urlText.empty() && !urlText.starts_with('/');
    return std::string(stem) + (needsSlash ? "/" : "") + urlText;
}

bool isActive(const KeyValue& row) { return row.enabled && !row.key.empty(); }

std::vector<Pair> resolvedRows(const std::vector<KeyValue>& rows, const VariableResolver& resolver) {
    std::vector<Pair> pairs;
    for (const auto& row : rows) {
        if (isActive(row)) pairs.emplace_back(resolver.resolve(row.key), resolver.resolve(row.value));
    }
    return pairs;
}

void addUndefinedNames(const std::vector<KeyValue>& rows, const VariableResolver& resolver,
                       std::vector<std::string>& names) {
    for (const auto& row : rows) {
        if (!isActive(row)) continue;
        const auto undefined = resolver.unresolvedNames(row.value);
        names.insert(names.end(), undefined.begin(), undefined.end());
    }
}

void addOAuth2Token(const Auth& auth, const VariableResolver& resolver, const requestBuilder::OAuth2TokenLookup& tokens,
                    Parts& parts) {
    if (!tokens) return;
    const auto settings = auth.oauth2.value_or(OAuth2Config{});
    const auto token = tokens(settings, resolver);
    if (!token) return;
    switch (settings.placement) {
    case OAuth2TokenPlacement::header:
        parts.headers.emplace_back("Authorization",
                                   settings.headerPrefix.empty() ? *token : settings.headerPrefix + " " + *token);
        return;
    case OAuth2TokenPlacement::query:
        parts.query.emplace_back(settings.queryParamName.empty() ? "access_token" : settings.queryParamName, *token);
        return;
    }
}

void addAuth(const Auth& auth, const VariableResolver& resolver, const requestBuilder::OAuth2TokenLookup& tokens,
             Parts& parts) {
    switch (auth.kind) {
    case AuthKind::none:
    case AuthKind::inherit:  // a collection's own auth has nothing to inherit from
        return;
    case AuthKind::bearer:
        parts.headers.emplace_back("Authorization", "Bearer " + resolver.resolve(auth.token));
        return;
    case AuthKind::basic:
        parts.headers.emplace_back(
            "Authorization", "Basic " + base64::encode(resolver.resolve(auth.username) + ":" + resolver.resolve(auth.password)));
        return;
    case AuthKind::apiKey:
        (auth.apiKeyIn == APIKeyLocation::query ? parts.query : parts.headers)
            .emplace_back(resolver.resolve(auth.apiKeyName), resolver.resolve(auth.apiKeyValue));
        return;
    case AuthKind::oauth2:
        addOAuth2Token(auth, resolver, tokens, parts);
        return;
    }
}

// What a URL may hold besides letters and digits: the unreserved and reserved punctuation.
constexpr std::string_view urlPunctuation = "-._~:/?#[]@!$&'()*+,;=";
// What may stand in a query's name or value unescaped: no "&", "=", ";" or "+", which form
// decoders read as structure or as a space, nor "#" or "%".
constexpr std::string_view queryPunctuation = "-._~!$'()*,:@/?";

bool isHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// Every byte that may not stand in a URL escaped: spaces, controls, non-ASCII, quotes, "{"
// and the like. A "%" that already starts an escape is kept; the runs between such escapes
// are encoded whole.
std::string withDisallowedEscaped(std::string_view text) {
    std::string escaped;
    std::size_t runStart = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const bool startsEscape =
            text[index] == '%' && index + 2 < text.size() && isHexDigit(text[index + 1]) && isHexDigit(text[index + 2]);
        if (!startsEscape) continue;
        escaped += percentEncoding::encode(text.substr(runStart, index - runStart), urlPunctuation);
        escaped += '%';
        runStart = index + 1;
    }
    escaped += percentEncoding::encode(text.substr(runStart), urlPunctuation);
    return escaped;
}

// The query items after the URL's own query, before its fragment. (Setting the query through
// libcurl would rewrite every escape in lower case.)
std::string withQuery(const std::string& url, const std::vector<Pair>& items) {
    if (items.empty()) return url;
    const auto fragment = std::min(url.find('#'), url.size());
    const auto query = url.find('?');
    std::string joined = url.substr(0, fragment);
    joined += query >= fragment ? "?" : query + 1 == fragment ? "" : "&";
    joined += formFields::encoded(items, formFields::Blank::escaped, queryPunctuation);
    joined.append(url, fragment);
    return joined;
}

// The URL (a text with "://") with the query items added; absent when it is not a valid URL.
std::optional<URLComponents> assembledURL(const std::string& text, const std::vector<Pair>& query) {
    // An empty host: libcurl would take the first segment of the path for it.
    if (const auto scheme = text.find("://"); text.compare(scheme + 3, 1, "/") == 0) return std::nullopt;
    return URLComponents::parse(withQuery(withDisallowedEscaped(text), query));
}

std::vector<std::string> sortedOnce(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

// A value "@path" sends the file at `path` as the part's content.
EncodedBody multipartBody(const std::vector<Pair>& fields) {
    auto random = Uuid::random().text();
    random.erase(std::remove(random.begin(), random.end(), '-'), random.end());
    const auto boundary = std::string(requestBuilder::boundaryPrefix) + random;
    EncodedBody body{.contentType = std::string(requestBuilder::multipartContentType) + boundary};
    for (const auto& [name, value] : fields) {
        body.bytes += "--" + boundary + "\r\n";
        if (value.starts_with('@')) {
            const std::filesystem::path path(value.substr(1));
            const auto content = atomicFile::read(path);
            body.bytes += "Content-Disposition: form-data; name=\"" + name + "\"; filename=\"" + path.filename().string() +
                          "\"\r\nContent-Type: application/octet-stream\r\n\r\n" + content + "\r\n";
            body.text += name + "=<file " + std::to_string(content.size()) + " bytes>\n";
        } else {
            body.bytes += "Content-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value + "\r\n";
            body.text += name + "=" + value + "\n";
        }
    }
    body.bytes += "--" + boundary + "--\r\n";
    return body;
}

EncodedBody textBody(std::string text, BodyKind kind) {
    return {.bytes = text, .text = text, .contentType = std::string(contentType(kind).value_or(""))};
}

std::optional<EncodedBody> encodedBody(const RequestBody& body, const VariableResolver& resolver) {
    switch (body.kind) {
    case BodyKind::none: return std::nullopt;
    case BodyKind::json:
    case BodyKind::text:
    case BodyKind::xml: return textBody(resolver.resolve(body.raw), body.kind);
    case BodyKind::formURLEncoded: return textBody(formFields::encoded(resolvedRows(body.form, resolver), formFields::Blank::plus), body.kind);
    case BodyKind::multipart: return multipartBody(resolvedRows(body.form, resolver));
    }
    return std::nullopt;
}

bool hasContentType(const std::vector<Pair>& headers) {
    return std::any_of(headers.begin(), headers.end(),
                       [](const Pair& header) { return caseInsensitive::equal(header.first, "Content-Type"); });
}

}  // namespace

Auth requestBuilder::effectiveAuth(const APIRequest& request, const std::optional<APICollection>& collection) {
    if (request.auth.kind != AuthKind::inherit) return request.auth;
    return collection ? collection->auth : Auth::none();
}

ResolvedRequest requestBuilder::resolve(const APIRequest& request, const std::optional<APICollection>& collection,
                                        const VariableResolver& resolver, const OAuth2TokenLookup& tokens) {
    const auto urlText = withBaseURL(std::string(trimmed(resolver.resolve(request.url))), collection, resolver);
    if (urlText.empty()) throw RequestBuildError::emptyURL();

    auto undefinedNames = resolver.unresolvedNames(request.url);
    addUndefinedNames(request.headers, resolver, undefinedNames);
    addUndefinedNames(request.query, resolver, undefinedNames);
    Parts parts{.headers = resolvedRows(request.headers, resolver), .query = resolvedRows(request.query, resolver)};
    addAuth(effectiveAuth(request, collection), resolver, tokens, parts);

    // Undefined names come before an invalid URL: a placeholder left in the host is what
    // makes such a URL invalid.
    const auto absoluteText = urlText.find("://") == std::string::npos ? "https://" + urlText : urlText;
    auto parsed = assembledURL(absoluteText, parts.query);
    auto url = parsed ? parsed->text() : std::nullopt;
    if (!undefinedNames.empty()) throw RequestBuildError::unresolvedVariables(sortedOnce(std::move(undefinedNames)));
    if (!url) throw RequestBuildError::invalidURL(absoluteText);

    ResolvedRequest resolved{
        .method = request.method, .url = std::move(*url), .parsedURL = {std::move(parsed)}, .bodyKind = request.body.kind};
    if (allowsBody(request.method)) {
        if (auto body = encodedBody(request.body, resolver)) {
            if (!hasContentType(parts.headers)) parts.headers.emplace_back("Content-Type", std::move(body->contentType));
            resolved.body = std::move(body->bytes);
            resolved.bodyText = std::move(body->text);
        }
    }
    resolved.headers = std::move(parts.headers);
    return resolved;
}

}  // namespace tessaline
