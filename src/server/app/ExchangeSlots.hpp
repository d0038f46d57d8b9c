#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace tessaline {

// A fixed number of exchanges that may run at once; a caller beyond them waits its turn, in no
// particular order, unless it is cancelled meanwhile. Any thread may use it.
class ExchangeSlots {
public:
    explicit ExchangeSlots(int count) : available(count) {}

    // Takes a slot, waiting for one; returns false, taking none, once `cancelled` is set
    // (wakeAll() makes a waiter look at its flag again).
    bool acquire(const std::atomic<bool>& cancelled);
    // Takes a slot when one is free at once.
    bool tryAcquire();
    void release();
    void wakeAll();

private:
    std::mutex lock;
    std::condition_variable changed;
    int available;  // guarded by lock
};

}  // namespace tessaline
