#pragma once

#include "core/http/ResolvedRequest.hpp"
#include "core/model/APICollection.hpp"
#include "core/model/APIRequest.hpp"
#include "core/model/Auth.hpp"
#include "core/model/OAuth2Config.hpp"
#include "core/variables/VariableResolver.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// Turns a saved request into one ready to send: the collection's base URL joined to a
// relative URL, every `{{variable}}` substituted, auth applied, the body encoded by its kind
// and a default Content-Type added.
namespace requestBuilder {

// The cached OAuth 2 token to send for these settings once resolved with the resolver
// (the access token, or the ID token when `settings.useIDToken` asks for it); absent when
// the cache holds none. Obtaining a token is the caller's job, before building.
using OAuth2TokenLookup =
    std::function<std::optional<std::string>(const OAuth2Config& settings, const VariableResolver& resolver)>;

// Content-Type of a multipart body: this, then the part boundary.
inline constexpr std::string_view multipartContentType = "multipart/form-data; boundary=";
// Every part boundary starts with this and ends with 32 random upper-case hex digits.
inline constexpr std::string_view boundaryPrefix = "----Tessaline";

// Throws RequestBuildError, in this order: the URL is empty; variables used in the URL,
// in header values or in query values are undefined (names sorted, each once); the URL
// is not valid. Placeholders that stay unresolved elsewhere (body, auth) are sent as
// written. Throws FileError when a multipart field names a file ("@path") that cannot
// be read. With no `tokens`, OAuth 2 adds nothing to the request.
ResolvedRequest resolve(const APIRequest& request, const std::optional<APICollection>& collection,
                        const VariableResolver& resolver, const OAuth2TokenLookup& tokens = {});

// The request's own auth, or its collection's when it inherits (none without a
// collection).
Auth effectiveAuth(const APIRequest& request, const std::optional<APICollection>& collection);

}  // namespace requestBuilder

}  // namespace tessaline
