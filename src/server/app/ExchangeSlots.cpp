#include "server/app/ExchangeSlots.hpp"

namespace tessaline {

bool ExchangeSlots::acquire(const std::atomic<bool>& cancelled) {
    std::unique_lock guard(lock);
    changed.wait(guard, [&] { return available > 0 || cancelled; });
    if (cancelled) return false;
    --available;
    return true;
}

bool ExchangeSlots::tryAcquire() {
    const std::lock_guard guard(lock);
    if (available == 0) return false;
    --available;
    return true;
}

void ExchangeSlots::release() {
    {
        const std::lock_guard guard(lock);
        ++available;
    }
    changed.notify_all();
}

void ExchangeSlots::wakeAll() {
    // Taking the lock orders the flag set before it against a waiter about to sleep.
    { const std::lock_guard guard(lock); }
    changed.notify_all();
}

}  // namespace tessaline
