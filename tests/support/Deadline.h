#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <future>
#include <thread>

namespace Brelk::Testing {

// Runs `body` on a thread of its own and gives it `limit` to finish. A deadlock must fail the
// run rather than hang it, and a hung thread cannot be joined, so an overrun ends the
// process with a message. Exceptions from the body reach the caller.
inline void RunWithDeadline(std::chrono::milliseconds limit, const std::function<void()>& body) {
    std::packaged_task<void()> task(body);
    std::future<void> done = task.get_future();
    std::thread runner(std::move(task));
    if (done.wait_for(limit) != std::future_status::ready) {
        std::fprintf(stderr, "A concurrency test did not finish within %lld ms; it is taken as a deadlock.\n",
                     static_cast<long long>(limit.count()));
        std::fflush(stderr);
        std::_Exit(3);
    }
    runner.join();
    done.get();
}

inline constexpr std::chrono::milliseconds kDeadline{20000};

} // namespace Brelk::Testing
