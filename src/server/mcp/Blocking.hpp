#pragma once

#include "core/support/SerialQueue.hpp"

#include <future>
#include <memory>
#include <type_traits>
#include <utility>

namespace tessaline {

// The thread that runs the operations of `blocking`. It lives as long as the process: starting
// a thread for each exchange would cost more than a round trip to a local server.
SerialQueue& blockingWorker();

// Runs an operation on a worker thread while the calling thread waits for its outcome, so
// that the strictly sequential message loop can use work that runs elsewhere (HTTP
// exchanges, OAuth 2 grants). The value is returned or the operation's exception rethrown.
// There is no time-out here: the operation bounds itself. The operation must not need the
// calling thread, which is blocked for the duration, nor call `blocking` itself.
template <typename Operation>
std::invoke_result_t<Operation> blocking(Operation&& operation) {
    // The worker owns the task: it may still be returning from it when the outcome is read.
    auto task = std::make_shared<std::packaged_task<std::invoke_result_t<Operation>()>>(std::forward<Operation>(operation));
    auto outcome = task->get_future();
    blockingWorker().post([task] { (*task)(); });
    return outcome.get();
}

}  // namespace tessaline
