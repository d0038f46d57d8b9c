#pragma once

#include <atomic>

namespace tessaline {

// Set by the user interface when a person dismisses a sign-in prompt; the flows waiting behind
// the prompt poll it and end with OAuth2Error::cancelled. Safe to use from any thread.
class CancelFlag {
public:
    void set() { value.store(true); }
    bool isSet() const { return value.load(); }

private:
    std::atomic<bool> value{false};
};

}  // namespace tessaline
