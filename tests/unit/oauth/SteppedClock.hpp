#pragma once

#include "oauth/OAuth2Timing.hpp"

#include <mutex>

namespace tessaline {

// A clock that stands still until something sleeps, and then moves on by exactly the time
// slept: waits of any length take no real time.
class SteppedClock {
public:
    explicit SteppedClock(Date start) : current(start) {}

    Date now() const {
        const std::lock_guard guard(lock);
        return current;
    }
    void advance(OAuth2Timing::Seconds duration) {
        const std::lock_guard guard(lock);
        current += std::chrono::duration_cast<Date::duration>(duration);
    }

    OAuth2Timing timing() {
        return {.now = [this] { return now(); }, .sleep = [this](OAuth2Timing::Seconds d) { advance(d); }};
    }

private:
    mutable std::mutex lock;
    Date current;
};

}  // namespace tessaline
