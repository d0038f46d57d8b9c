#pragma once

#include "core/model/Auth.hpp"
#include "core/model/OAuth2Token.hpp"
#include "core/oauth/OAuth2Interaction.hpp"
#include "core/oauth/OAuth2ResolvedConfig.hpp"
#include "core/oauth/OAuth2Timing.hpp"
#include "core/oauth/OAuth2TokenCache.hpp"
#include "core/variables/VariableResolver.hpp"

#include <condition_variable>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace tessaline {

// Obtains OAuth 2 access tokens: reuses a cached token while it is fresh, refreshes it when
// it can, and otherwise runs the configured grant. Client credentials, password and refresh
// token grants need nobody; the authorization code and device code grants need a person,
// reached through an OAuth2Interaction, and without one they work only as long as a cached
// refresh token does.
//
// Any number of threads may ask at once. At most one acquisition per cache key runs, on its
// own thread, and every caller for that key waits for its outcome, so two requests sharing a
// configuration cause one sign-in. An obtained token is stored in the cache; a failure
// leaves the cached token as it was.
//
// Failures: OAuth2Error; RequestBuildError for undefined variables; tessaline::Error with the
// HTTP client's text for a transport failure.
class OAuth2Service {
public:
    enum class Mode {
        reuse,    // the cached token while it is usable, else as `refresh`
        refresh,  // the cached refresh token if there is one, else the grant
        renew,    // the grant from the start, whatever is cached ("new")
    };

    // A token expiring within this much of now counts as expired.
    static constexpr std::chrono::seconds leeway{30};

    explicit OAuth2Service(OAuth2TokenCache& cache, OAuth2Timing timing = {});
    OAuth2Service(const OAuth2Service&) = delete;
    OAuth2Service& operator=(const OAuth2Service&) = delete;
    // Waits for the acquisitions still finishing.
    ~OAuth2Service();

    // For a request or collection whose effective auth is `auth`: nothing unless it is OAuth 2,
    // else token() for its configuration (the default one when it has none).
    std::optional<OAuth2Token> prepare(const Auth& auth, const VariableResolver& resolver, Mode mode,
                                       OAuth2Interaction* interaction = nullptr);

    // Refuses a configuration that names undefined variables in the fields its grant uses,
    // before any network traffic; resolves it and goes on with the resolved configuration.
    OAuth2Token token(const OAuth2Config& config, const VariableResolver& resolver, Mode mode,
                      OAuth2Interaction* interaction = nullptr);
    OAuth2Token token(const OAuth2ResolvedConfig& config, Mode mode, OAuth2Interaction* interaction = nullptr);

private:
    std::shared_future<OAuth2Token> acquisition(const std::string& key, const OAuth2ResolvedConfig& config,
                                                std::optional<OAuth2Token> cached, OAuth2Interaction* interaction);
    OAuth2Token obtain(const OAuth2ResolvedConfig& config, const std::optional<OAuth2Token>& cached,
                       OAuth2Interaction* interaction) const;
    OAuth2Token runGrant(const OAuth2ResolvedConfig& config, OAuth2Interaction* interaction) const;
    void finish(const std::string& key);

    OAuth2TokenCache& tokenCache;
    const OAuth2Timing timings;

    std::mutex lock;
    std::condition_variable finished;
    std::map<std::string, std::shared_future<OAuth2Token>> inFlight;
    int runningCount = 0;  // acquisition threads not yet done with this service
};

}  // namespace tessaline
