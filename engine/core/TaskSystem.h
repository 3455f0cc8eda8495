#pragma once

#include "engine/core/TaskCancelledError.h"
#include "engine/core/TaskCounter.h"
#include "engine/core/TaskPriority.h"
#include "engine/core/TaskQueue.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <vector>

namespace Brelk::Core::Tasks {

struct TaskSystemConfig {
    // Absent: hardware concurrency minus 1, at least 1. Zero: no threads, every task runs
    // inline on the thread that submits it.
    std::optional<std::uint32_t> workerCount;
    // Threads that serve Io tasks; none when the worker count is 0.
    std::uint32_t ioThreadCount = 1;
    // Workers that may run Background tasks at once. Absent: worker count minus 1, at least
    // 1; present: clamped to 1 .. worker count.
    std::optional<std::uint32_t> backgroundLimit;
};

// The thread counts that a configuration gives on a machine with the given hardware
// concurrency (0 counts as 1).
struct TaskSystemLayout {
    std::uint32_t workerCount = 0;
    std::uint32_t ioThreadCount = 0;
    std::uint32_t backgroundLimit = 1;
};
TaskSystemLayout ResolveTaskSystemLayout(const TaskSystemConfig& config, std::uint32_t hardwareConcurrency) noexcept;

// The engine's thread pool. Workers run High, Normal and Background tasks, IO threads run
// Io tasks; a thread that waits runs queued work instead of sleeping while it may.
class TaskSystem {
public:
    enum class ShutdownMode : std::uint8_t {
        Drain = 0,  // run everything queued, including what those tasks add
        Cancel = 1, // drop what is queued; its counters get TaskCancelledError
    };

    // Starts the worker threads "Brelk Worker <n>" and the IO threads "Brelk IO <n>".
    // Throws std::system_error if a thread cannot start.
    explicit TaskSystem(TaskSystemConfig config = {});
    // Shutdown(Drain); then stops being the current system if it was.
    ~TaskSystem();
    TaskSystem(const TaskSystem&) = delete;
    TaskSystem& operator=(const TaskSystem&) = delete;

    // Makes `system` (may be null) the current one and returns the previous value, which
    // the caller puts back when done.
    static TaskSystem* Install(TaskSystem* system) noexcept;
    static TaskSystem* Current() noexcept;
    // The current system or, without one, a process-wide inline system (with a warning the
    // first time). Never fails.
    static TaskSystem& Get();

    TaskCounter Submit(TaskPriority priority, std::function<void()> function);
    void AddTask(TaskPriority priority, std::function<void()> function, const TaskCounter& counter);

    // The function's result or exception, through a future.
    template <class Function>
    auto Async(TaskPriority priority, Function&& function)
        -> std::future<std::invoke_result_t<std::decay_t<Function>&>> {
        using Result = std::invoke_result_t<std::decay_t<Function>&>;
        auto task = std::make_shared<std::packaged_task<Result()>>(std::forward<Function>(function));
        std::future<Result> future = task->get_future();
        (void)Submit(priority, [task] { (*task)(); });
        return future;
    }

    // Returns once every task of the counter has finished, running queued tasks meanwhile:
    // the counter's own, at any priority, and anything at least as urgent as the task that
    // this thread is running. Rethrows the counter's first failure, at every call.
    void Wait(const TaskCounter& counter);
    bool IsComplete(const TaskCounter& counter) const noexcept;
    bool HasFailed(const TaskCounter& counter) const;

    // function(index) for every index below count, in ranges of `grain` (0 counts as 1)
    // spread over the workers and the calling thread. Without a priority the loop takes the
    // calling task's (Io becomes Background), or High.
    void ParallelFor(std::size_t count, std::size_t grain, std::optional<TaskPriority> priority,
                     const std::function<void(std::size_t)>& function);
    // function(begin, end) for consecutive ranges of `grain` indices; the last may be
    // shorter. After a range throws, the other helpers stop after their current range and
    // the first exception reaches the caller. Throws std::invalid_argument for a grain of 0.
    void ParallelForRanges(std::size_t count, std::size_t grain, TaskPriority priority,
                           const std::function<void(std::size_t, std::size_t)>& function);

    // Stops the threads; idempotent, and ignored (with an error line) from one of this
    // system's own threads. Tasks submitted afterwards run inline on their submitter.
    void Shutdown(ShutdownMode mode);

    // The caller is one of this system's workers (not an IO thread).
    bool IsWorkerThread() const noexcept;
    // The priority of the task that the calling thread runs, if any.
    static std::optional<TaskPriority> CurrentPriority() noexcept;

    bool IsInline() const noexcept { return inline_; }
    std::uint32_t WorkerCount() const noexcept { return static_cast<std::uint32_t>(workers_.size()); }
    std::uint32_t IoThreadCount() const noexcept { return static_cast<std::uint32_t>(ioThreads_.size()); }
    std::uint32_t BackgroundLimit() const noexcept { return backgroundLimit_; }

private:
    struct alignas(64) Worker {
        std::array<TaskQueue, 3> queues; // High, Normal, Background
        std::thread thread;
    };

    void Enqueue(Task&& task);
    // `force` looks into the queues even when the counts say that they are empty.
    bool TryPop(TaskPriority priority, Task& task, bool force = false);
    bool TryPopBackground(Task& task, bool& tookSlot);
    void RunTask(Task& task, bool slotTaken);
    void FinishOnCounter(Detail::CounterState& counter, const std::exception_ptr& error);
    void WakeAll();
    void WorkerMain(std::uint32_t index);
    void IoMain(std::uint32_t index);
    bool ShouldLeave() const noexcept;
    bool WorkerHasWork() const noexcept;
    void CancelQueued();
    void CancelTasks(std::deque<Task>&& tasks, TaskPriority priority, const std::exception_ptr& error);
    void JoinThreads() noexcept;

    bool inline_ = false;
    std::uint32_t backgroundLimit_ = 1;
    std::vector<std::unique_ptr<Worker>> workers_;
    std::vector<std::thread> ioThreads_;
    std::array<TaskQueue, kTaskPriorityCount> globalQueues_;
    std::array<std::atomic<std::int64_t>, kTaskPriorityCount> queued_{};
    std::atomic<std::int64_t> outstanding_{0};
    std::atomic<std::int64_t> activeBackground_{0};
    std::atomic<bool> stopping_{false};
    std::atomic<bool> cancelling_{false};
    std::atomic<bool> stopped_{false};
    std::atomic<std::uint32_t> stealCursor_{0};
    std::atomic<std::uint32_t> sleepers_{0};
    std::mutex wakeMutex_;
    std::condition_variable workerWake_;
    std::condition_variable ioWake_;
    std::mutex shutdownMutex_;
};

// A task system of its own, current while it lives; the one before is put back first, then
// the system drains and stops.
class ScopedTaskSystem {
public:
    explicit ScopedTaskSystem(TaskSystemConfig config = {}) : system_(config), previous_(TaskSystem::Install(&system_)) {}
    ~ScopedTaskSystem() { TaskSystem::Install(previous_); }
    ScopedTaskSystem(const ScopedTaskSystem&) = delete;
    ScopedTaskSystem& operator=(const ScopedTaskSystem&) = delete;

    TaskSystem& Get() noexcept { return system_; }

private:
    TaskSystem system_;
    TaskSystem* previous_;
};

} // namespace Brelk::Core::Tasks
