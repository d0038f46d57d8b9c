#pragma once

#include "core/support/Clock.hpp"

#include <chrono>
#include <functional>
#include <thread>

namespace tessaline {

// The time seams of the token service: the clock that expiry and the device flow's deadline
// are measured by, how the device flow waits between polls, and how long it and a loopback
// sign-in may take. Tests replace `now` and `sleep` together with a stepped clock.
struct OAuth2Timing {
    using Seconds = std::chrono::duration<double>;

    Clock now = systemClock();
    std::function<void(Seconds)> sleep = [](Seconds duration) { std::this_thread::sleep_for(duration); };
    Seconds defaultPollInterval{5.0};  // when a device authorization names no interval
    Seconds loopbackTimeout{300.0};    // for the browser's redirect to reach the loopback receiver
};

}  // namespace tessaline
