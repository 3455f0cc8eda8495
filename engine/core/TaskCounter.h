#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>

namespace Brelk::Core::Tasks {
namespace Detail {

// Shared by the counter handles and by every task of the counter, so that it outlives
// whichever of them goes last.
struct CounterState {
    CounterState() = default;
    CounterState(const CounterState&) = delete;
    CounterState& operator=(const CounterState&) = delete;
    // Logs a failure that no Wait took.
    ~CounterState();

    std::atomic<std::uint64_t> pending{0};
    std::atomic<std::uint32_t> priorityMask{0};
    std::atomic<std::int32_t> waiters{0};
    std::mutex mutex;
    std::exception_ptr exception; // the first failure of any task; under mutex
    bool observed = false;        // a Wait has rethrown it; under mutex
};

} // namespace Detail

// A handle on a group of tasks to wait for. Copies share one state; a default-constructed
// counter is a fresh one with nothing pending, ready for TaskSystem::AddTask.
class TaskCounter {
public:
    TaskCounter();

    const std::shared_ptr<Detail::CounterState>& State() const noexcept { return state_; }

private:
    std::shared_ptr<Detail::CounterState> state_;
};

} // namespace Brelk::Core::Tasks
