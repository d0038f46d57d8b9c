#pragma once

#include "core/oauth/OAuth2ResolvedConfig.hpp"
#include "core/oauth/OAuth2Service.hpp"
#include "core/oauth/OAuth2Timing.hpp"
#include "core/oauth/SignIn.hpp"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace tessaline {

// The sign-ins that wait for a person in the background, at most one per token cache key:
// each runs the grant anew through the token service, on a thread of its own, which stores
// the token in the cache as any acquisition does. A sign-in stays listed under its key after
// it ended, until someone takes note of its outcome (forget()) or a new one starts. Safe to
// use from any thread.
class SignInRegistry {
public:
    SignInRegistry(OAuth2Service& service, OAuth2Timing timing = {});
    SignInRegistry(const SignInRegistry&) = delete;
    SignInRegistry& operator=(const SignInRegistry&) = delete;
    // Ends every sign-in and waits for their threads.
    ~SignInRegistry();

    // Whether the grant of `config` can wait for a person here: the device code grant, and
    // the authorization code grant with a loopback redirect.
    static bool runsHere(const OAuth2ResolvedConfig& config);

    // The sign-in running for the key of `config`, else a new one; returns once it shows its
    // prompt or has ended (such as when the device authorization failed).
    std::shared_ptr<SignIn> begin(const OAuth2ResolvedConfig& config);
    // The sign-in listed under the key, running or ended; nullptr when there is none.
    std::shared_ptr<SignIn> find(const std::string& key);
    // Unlists `signIn` if it is still the one listed under the key.
    void forget(const std::string& key, const std::shared_ptr<SignIn>& signIn);
    // Cancels the key's sign-in and unlists it.
    void end(const std::string& key);
    // Cancels every sign-in, and those begun later as soon as they start.
    void close();

private:
    void run(std::shared_ptr<SignIn> signIn, const OAuth2ResolvedConfig& config);

    OAuth2Service& tokens;
    const OAuth2Timing timing;

    std::mutex lock;
    std::condition_variable finished;
    // State below is guarded by lock.
    std::map<std::string, std::shared_ptr<SignIn>> signIns;
    int runningCount = 0;  // threads not yet done with this registry
    bool closed = false;
};

}  // namespace tessaline
