#pragma once

#include <chrono>
#include <thread>

namespace tessaline {

// How often a file that another program may be in the middle of writing is looked at.
constexpr std::chrono::milliseconds filePollInterval{2};

// Calls `look(false)` every filePollInterval for up to `wait` until it finds something (an
// engaged optional) and returns that; otherwise returns what a last `look(true)` finds. The
// last look must read the bytes rather than trust the file's stamp, since a write within one
// tick of the file-system clock can leave the stamp as it was.
template <class Look>
auto pollWithin(std::chrono::milliseconds wait, Look look) -> decltype(look(true)) {
    const auto deadline = std::chrono::steady_clock::now() + wait;
    do {
        std::this_thread::sleep_for(filePollInterval);
        if (auto found = look(false)) return found;
    } while (std::chrono::steady_clock::now() < deadline);
    return look(true);
}

}  // namespace tessaline
