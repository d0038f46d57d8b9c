#pragma once

#include "core/http/ResolvedRequest.hpp"
#include "core/http/TransferControl.hpp"
#include "core/model/APICollection.hpp"
#include "core/model/APIRequest.hpp"
#include "core/model/OAuth2Token.hpp"
#include "core/model/StoredResponse.hpp"
#include "core/oauth/OAuth2ResolvedConfig.hpp"
#include "core/oauth/OAuth2Service.hpp"
#include "core/oauth/OAuth2TokenCache.hpp"
#include "core/storage/SaveReport.hpp"
#include "core/storage/WorkspaceStore.hpp"
#include "core/variables/VariableResolver.hpp"

#include <optional>
#include <string>
#include <vector>

namespace tessaline {

// One send of a saved or one-off request, in the steps that a program with one thread for its
// workspace and others for the network takes apart:
//
//   RequestSession session(store, request);  // workspace: collection, variables, auth
//   session.authorize(service);              // any thread: the OAuth 2 token, when one is needed
//   session.build();                         // workspace: the request as it goes out
//   auto response = session.perform(control); // any thread: the exchange
//   session.record(store, response);         // workspace: the request's history
//
// The steps marked "workspace" use the store (or the resolver, which reads it) and must run
// where the store may be used; the others touch only the session and thread-safe services.
// Each step runs once, in this order; a failed step throws and ends the send.
class RequestSession {
public:
    // A saved request as the store has it: its collection, the variables it sees (those of
    // `environment` instead of the active one when given, `overrides` in front of all) and its
    // effective auth. Recorded in its history.
    RequestSession(WorkspaceStore& store, APIRequest request, const std::optional<APIEnvironment>& environment = std::nullopt,
                   std::vector<KeyValue> overrides = {});
    // A request made up for one send: no collection, the active environment's variables, no
    // OAuth 2, and never recorded.
    static RequestSession oneOff(WorkspaceStore& store, APIRequest request);

    const APIRequest& request() const { return original; }
    // The request's own auth, or its collection's when it inherits.
    const Auth& auth() const { return effectiveAuth; }
    const VariableResolver& resolver() const { return variables; }
    // Whether the auth is OAuth 2, so that authorize() has a token to obtain.
    bool usesOAuth2() const { return oauth.has_value(); }
    // The OAuth 2 settings resolved with the session's variables; only when usesOAuth2().
    const OAuth2ResolvedConfig& oauthConfig() const { return *oauth; }
    // Whether record() writes anything: false for a one-off request.
    bool recordsHistory() const { return recorded; }

    // Obtains the OAuth 2 token without a person (from the cache, by refreshing it, or by a
    // grant that needs no browser); does nothing unless the auth is OAuth 2. May wait on the
    // network. Throws RequestBuildError when the settings name undefined variables, and the
    // service's failures.
    void authorize(OAuth2Service& service);
    // Builds the request that goes out, with the token authorize() obtained. Throws
    // RequestBuildError (and FileError for a multipart file that cannot be read).
    void build();
    // The request as build() made it.
    const ResolvedRequest& resolved() const { return *outgoing; }
    // The request as it would go out with whatever token the cache holds, obtaining none: what
    // a code snippet shows.
    ResolvedRequest resolvedWithCachedToken(OAuth2TokenCache& cache) const;

    // The exchange (see HTTPRunner::send); a transport failure or a cancellation comes back as
    // a response with status 0 and its error.
    StoredResponse perform(const TransferControl& control = {}) const;
    // Writes the response to the saved request's history (nothing for a one-off request), the
    // OAuth 2 token masked wherever the request carried it. A send that used a token reports,
    // as a failed save, a token cache that could not be written.
    SaveReport record(WorkspaceStore& store, const StoredResponse& response) const;

private:
    RequestSession(APIRequest request, std::optional<APICollection> collection, VariableResolver resolver, bool recorded);

    APIRequest original;
    std::optional<APICollection> collection;
    VariableResolver variables;
    Auth effectiveAuth;
    bool recorded;
    // Set for OAuth 2 auth: the settings resolved, and the names they use that no scope defines.
    std::optional<OAuth2ResolvedConfig> oauth;
    std::vector<std::string> undefinedInOAuth;
    std::optional<OAuth2Token> token;
    std::optional<ResolvedRequest> outgoing;
};

}  // namespace tessaline
