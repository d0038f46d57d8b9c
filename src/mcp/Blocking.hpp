#pragma once

#include <future>
#include <thread>
#include <type_traits>
#include <utility>

namespace tessaline {

// Runs an operation on a worker thread while the calling thread waits for its outcome, so
// that the strictly sequential message loop can use work that runs elsewhere (HTTP
// exchanges, OAuth 2 grants). The value is returned or the operation's exception rethrown.
// There is no time-out here: the operation bounds itself. The operation must not need the
// calling thread, which is blocked for the duration.
template <typename Operation>
std::invoke_result_t<Operation> blocking(Operation&& operation) {
    std::packaged_task<std::invoke_result_t<Operation>()> task(std::forward<Operation>(operation));
    auto outcome = task.get_future();
    std::thread worker(std::move(task));
    worker.join();
    return outcome.get();
}

}  // namespace tessaline
