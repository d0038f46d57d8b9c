#include "core/session/RequestSession.hpp"

#include "core/http/HTTPRunner.hpp"
#include "core/http/RequestBuilder.hpp"
#include "core/oauth/CachedTokenLookup.hpp"
#include "core/support/SecretMask.hpp"
#include "core/variables/RequestBuildError.hpp"

namespace tessaline {

RequestSession::RequestSession(WorkspaceStore& store, APIRequest request, const std::optional<APIEnvironment>& environment,
                               std::vector<KeyValue> overrides)
    : RequestSession(request, store.collectionContaining(request.id), {}, true) {
    variables = store.resolver(collection, environment);
    if (!overrides.empty()) variables.scopes.insert(variables.scopes.begin(), std::move(overrides));
    if (effectiveAuth.kind != AuthKind::oauth2) return;
    const OAuth2Config settings = effectiveAuth.oauth2.value_or(OAuth2Config{});
    undefinedInOAuth = unresolvedNames(settings, variables);
    oauth = tessaline::resolved(settings, variables);
}

RequestSession RequestSession::oneOff(WorkspaceStore& store, APIRequest request) {
    return RequestSession(std::move(request), std::nullopt, store.resolver(std::nullopt), false);
}

RequestSession::RequestSession(APIRequest request, std::optional<APICollection> owner, VariableResolver resolver,
                               bool recordedInHistory)
    : original(std::move(request)),
      collection(std::move(owner)),
      variables(std::move(resolver)),
      effectiveAuth(requestBuilder::effectiveAuth(original, collection)),
      recorded(recordedInHistory) {}

void RequestSession::authorize(OAuth2Service& service) {
    if (!oauth) return;
    if (!undefinedInOAuth.empty()) throw RequestBuildError::unresolvedVariables(undefinedInOAuth);
    token = service.token(*oauth, OAuth2Service::Mode::reuse);
}

void RequestSession::build() { outgoing = requestBuilder::resolve(original, collection, variables, heldTokenLookup(token)); }

ResolvedRequest RequestSession::resolvedWithCachedToken(OAuth2TokenCache& cache) const {
    return requestBuilder::resolve(original, collection, variables, cachedTokenLookup(cache));
}

StoredResponse RequestSession::perform(const TransferControl& control) const {
    return HTTPRunner().send(*outgoing, original, control);
}

namespace {

// The response with every copy of the token's texts in the request it records masked.
StoredResponse withTokenMasked(StoredResponse response, const OAuth2Token& token) {
    const auto mask = [&token](std::string& text) {
        for (const auto& secret : {std::optional(token.accessToken), token.idToken}) {
            if (!secret || secret->empty()) continue;
            for (auto at = text.find(*secret); at != std::string::npos; at = text.find(*secret, at + secretMask.size())) {
                text.replace(at, secret->size(), secretMask);
            }
        }
    };
    mask(response.url);
    for (auto& header : response.requestHeaders) mask(header.value);
    return response;
}

}  // namespace

SaveReport RequestSession::record(WorkspaceStore& store, const StoredResponse& response) const {
    if (!recorded) return {};
    SaveReport saved = store.recordAndFlush(token ? withTokenMasked(response, *token) : response);
    if (!saved.failure && token) saved.failure = store.oauthTokens().saveFailure();
    return saved;
}

}  // namespace tessaline
