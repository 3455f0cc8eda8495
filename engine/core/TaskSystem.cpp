#include "engine/core/TaskSystem.h"

#include "engine/core/Logger.h"
#include "engine/platform/Thread.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace Brelk::Core::Tasks {
namespace {

enum class ThreadRole : std::uint8_t { None = 0, Worker = 1, Io = 2 };

constexpr std::size_t Index(TaskPriority priority) noexcept {
    return static_cast<std::size_t>(priority);
}

constexpr std::uint32_t Bit(TaskPriority priority) noexcept {
    return 1u << static_cast<std::uint32_t>(priority);
}

constexpr std::uint32_t kAllPriorityBits = (1u << kTaskPriorityCount) - 1;

// What the calling thread is to the task systems. A thread belongs to at most one system.
thread_local const TaskSystem* t_system = nullptr;
thread_local ThreadRole t_role = ThreadRole::None;
thread_local std::uint32_t t_workerIndex = 0;
thread_local std::optional<TaskPriority> t_currentPriority;
thread_local std::uint32_t t_backgroundDepth = 0;

std::atomic<TaskSystem*> g_current{nullptr};

} // namespace

TaskSystemLayout ResolveTaskSystemLayout(const TaskSystemConfig& config, std::uint32_t hardwareConcurrency) noexcept {
    TaskSystemLayout layout;
    const std::uint32_t processors = std::max<std::uint32_t>(hardwareConcurrency, 1);
    layout.workerCount = config.workerCount ? *config.workerCount : std::max<std::uint32_t>(processors - 1, 1);
    if (layout.workerCount == 0) {
        layout.ioThreadCount = 0;
        layout.backgroundLimit = 1;
        return layout;
    }
    layout.ioThreadCount = config.ioThreadCount;
    layout.backgroundLimit = config.backgroundLimit
                                 ? std::clamp<std::uint32_t>(*config.backgroundLimit, 1, layout.workerCount)
                                 : std::max<std::uint32_t>(layout.workerCount - 1, 1);
    return layout;
}

TaskSystem::TaskSystem(TaskSystemConfig config) {
    const TaskSystemLayout layout = ResolveTaskSystemLayout(config, std::thread::hardware_concurrency());
    backgroundLimit_ = layout.backgroundLimit;
    inline_ = layout.workerCount == 0;
    if (inline_) {
        return;
    }
    workers_.reserve(layout.workerCount);
    for (std::uint32_t i = 0; i < layout.workerCount; ++i) {
        workers_.push_back(std::make_unique<Worker>());
    }
    try {
        for (std::uint32_t i = 0; i < layout.workerCount; ++i) {
            workers_[i]->thread = std::thread([this, i] { WorkerMain(i); });
        }
        ioThreads_.reserve(layout.ioThreadCount);
        for (std::uint32_t i = 0; i < layout.ioThreadCount; ++i) {
            ioThreads_.emplace_back([this, i] { IoMain(i); });
        }
    } catch (...) {
        // The threads that did start must be gone before the members they use.
        stopping_.store(true);
        WakeAll();
        JoinThreads();
        throw;
    }
}

TaskSystem::~TaskSystem() {
    Shutdown(ShutdownMode::Drain);
    TaskSystem* self = this;
    g_current.compare_exchange_strong(self, nullptr);
}

TaskSystem* TaskSystem::Install(TaskSystem* system) noexcept {
    return g_current.exchange(system);
}

TaskSystem* TaskSystem::Current() noexcept {
    return g_current.load();
}

TaskSystem& TaskSystem::Get() {
    if (TaskSystem* current = g_current.load()) {
        return *current;
    }
    static TaskSystem fallback([] {
        TaskSystemConfig config;
        config.workerCount = 0;
        return config;
    }());
    static std::once_flag warned;
    std::call_once(warned, [] {
        LogWarning("TaskSystem::Get() used without an installed task system; tasks run inline.");
    });
    return fallback;
}

TaskCounter TaskSystem::Submit(TaskPriority priority, std::function<void()> function) {
    TaskCounter counter;
    AddTask(priority, std::move(function), counter);
    return counter;
}

void TaskSystem::AddTask(TaskPriority priority, std::function<void()> function, const TaskCounter& counter) {
    if (priority == TaskPriority::Io && ioThreads_.empty()) {
        priority = TaskPriority::Background;
    }
    Detail::CounterState& state = *counter.State();
    state.pending.fetch_add(1);
    state.priorityMask.fetch_or(Bit(priority));
    Enqueue(Task{std::move(function), counter.State(), priority});
}

void TaskSystem::Enqueue(Task&& task) {
    outstanding_.fetch_add(1);
    if (inline_) {
        RunTask(task, false);
        return;
    }
    const TaskPriority priority = task.priority;
    if (priority != TaskPriority::Io && t_system == this && t_role == ThreadRole::Worker) {
        workers_[t_workerIndex]->queues[Index(priority)].PushBack(std::move(task));
    } else if (!globalQueues_[Index(priority)].PushBackUnless(std::move(task), [this] { return stopped_.load(); })) {
        // No thread is left to take it.
        RunTask(task, false);
        return;
    }
    queued_[Index(priority)].fetch_add(1);
    if (priority == TaskPriority::Io) {
        { std::lock_guard lock(wakeMutex_); }
        ioWake_.notify_one();
        return;
    }
    if (sleepers_.load() > 0) {
        WakeAll();
    }
}

bool TaskSystem::TryPop(TaskPriority priority, Task& task, bool force) {
    const std::size_t p = Index(priority);
    if (!force && queued_[p].load() < 1) {
        return false;
    }
    bool found = false;
    if (priority == TaskPriority::Io) {
        found = globalQueues_[p].PopFront(task);
    } else {
        const bool ownWorker = t_system == this && t_role == ThreadRole::Worker;
        if (ownWorker) {
            // Last in, first out: what this worker just made is still hot in its cache.
            found = workers_[t_workerIndex]->queues[p].PopBack(task);
        }
        if (!found) {
            found = globalQueues_[p].PopFront(task);
        }
        const std::size_t count = workers_.size();
        if (!found && count > 0) {
            const std::size_t start = stealCursor_.fetch_add(1, std::memory_order_relaxed) % count;
            for (std::size_t k = 0; k < count && !found; ++k) {
                const std::size_t victim = (start + k) % count;
                if (ownWorker && victim == t_workerIndex) {
                    continue;
                }
                found = workers_[victim]->queues[p].PopFront(task);
            }
        }
    }
    if (found) {
        queued_[p].fetch_sub(1);
    }
    return found;
}

bool TaskSystem::TryPopBackground(Task& task, bool& tookSlot) {
    tookSlot = false;
    if (t_backgroundDepth > 0) {
        return TryPop(TaskPriority::Background, task);
    }
    if (queued_[Index(TaskPriority::Background)].load() < 1) {
        return false;
    }
    const std::int64_t before = activeBackground_.fetch_add(1);
    if (before < static_cast<std::int64_t>(backgroundLimit_) && TryPop(TaskPriority::Background, task)) {
        tookSlot = true;
        return true;
    }
    activeBackground_.fetch_sub(1);
    return false;
}

void TaskSystem::RunTask(Task& task, bool slotTaken) {
    const TaskPriority priority = task.priority;
    const bool background = priority == TaskPriority::Background;
    const bool holdsSlot = background && t_backgroundDepth == 0;
    if (holdsSlot && !slotTaken) {
        activeBackground_.fetch_add(1);
    }
    if (background) {
        ++t_backgroundDepth;
    }
    const std::optional<TaskPriority> savedPriority = t_currentPriority;
    t_currentPriority = priority;

    std::exception_ptr error;
    try {
        if (!task.function) {
            throw std::bad_function_call();
        }
        task.function();
    } catch (...) {
        error = std::current_exception();
    }
    try {
        // What the task captured goes before its counter completes, so that a waiter may
        // rely on it being released.
        task.function = nullptr;
    } catch (...) {
        if (!error) {
            error = std::current_exception();
        }
    }

    t_currentPriority = savedPriority;
    if (background) {
        --t_backgroundDepth;
    }
    if (holdsSlot) {
        activeBackground_.fetch_sub(1);
    }
    FinishOnCounter(*task.counter, error);
    task.counter.reset();

    const std::int64_t left = outstanding_.fetch_sub(1) - 1;
    if ((holdsSlot && queued_[Index(TaskPriority::Background)].load() > 0) || (left == 0 && stopping_.load())) {
        WakeAll();
    }
}

void TaskSystem::FinishOnCounter(Detail::CounterState& counter, const std::exception_ptr& error) {
    if (error) {
        std::lock_guard lock(counter.mutex);
        if (!counter.exception) {
            counter.exception = error;
        }
    }
    if (counter.pending.fetch_sub(1) == 1 && counter.waiters.load() > 0) {
        WakeAll();
    }
}

void TaskSystem::WakeAll() {
    // Taking the mutex closes the gap between a sleeper's last look and its wait.
    { std::lock_guard lock(wakeMutex_); }
    workerWake_.notify_all();
    ioWake_.notify_all();
}

bool TaskSystem::ShouldLeave() const noexcept {
    return stopping_.load() && (cancelling_.load() || outstanding_.load() == 0);
}

bool TaskSystem::WorkerHasWork() const noexcept {
    if (cancelling_.load()) {
        return false;
    }
    if (queued_[Index(TaskPriority::High)].load() > 0 || queued_[Index(TaskPriority::Normal)].load() > 0) {
        return true;
    }
    return queued_[Index(TaskPriority::Background)].load() > 0 &&
           (t_backgroundDepth > 0 || activeBackground_.load() < static_cast<std::int64_t>(backgroundLimit_));
}

void TaskSystem::WorkerMain(std::uint32_t index) {
    t_system = this;
    t_role = ThreadRole::Worker;
    t_workerIndex = index;
    Platform::SetCurrentThreadName("Brelk Worker " + std::to_string(index));

    while (true) {
        if (!cancelling_.load()) {
            Task task;
            bool tookSlot = false;
            if (TryPop(TaskPriority::High, task) || TryPop(TaskPriority::Normal, task) ||
                TryPopBackground(task, tookSlot)) {
                RunTask(task, tookSlot);
                continue;
            }
        }
        std::unique_lock lock(wakeMutex_);
        sleepers_.fetch_add(1);
        bool leave = false;
        workerWake_.wait(lock, [this, &leave] {
            leave = ShouldLeave();
            return leave || WorkerHasWork();
        });
        sleepers_.fetch_sub(1);
        if (leave) {
            return;
        }
    }
}

void TaskSystem::IoMain(std::uint32_t index) {
    t_system = this;
    t_role = ThreadRole::Io;
    t_workerIndex = index;
    Platform::SetCurrentThreadName("Brelk IO " + std::to_string(index));

    while (true) {
        if (!cancelling_.load()) {
            Task task;
            if (TryPop(TaskPriority::Io, task)) {
                RunTask(task, false);
                continue;
            }
        }
        // An idle IO thread stays out of `sleepers`: it has nothing to do with the
        // submissions that check that count, and every Io submission signals it anyway.
        std::unique_lock lock(wakeMutex_);
        bool leave = false;
        ioWake_.wait(lock, [this, &leave] {
            leave = ShouldLeave();
            return leave || (!cancelling_.load() && queued_[Index(TaskPriority::Io)].load() > 0);
        });
        if (leave) {
            return;
        }
    }
}

void TaskSystem::Wait(const TaskCounter& counter) {
    Detail::CounterState& state = *counter.State();
    const bool ioThread = t_system == this && t_role == ThreadRole::Io;
    while (state.pending.load() > 0) {
        std::uint32_t mask = state.priorityMask.load() & kAllPriorityBits;
        if (ioThread) {
            mask |= Bit(TaskPriority::Io);
        } else {
            // Anything at least as urgent as the running task is fair to help with; lower
            // work could hold this thread for long.
            const TaskPriority ceiling = t_currentPriority.value_or(TaskPriority::High);
            for (std::size_t p = 0; p <= Index(ceiling); ++p) {
                mask |= 1u << p;
            }
        }

        Task task;
        bool found = false;
        for (std::size_t p = 0; p < kTaskPriorityCount && !found; ++p) {
            if ((mask & (1u << p)) != 0) {
                found = TryPop(static_cast<TaskPriority>(p), task);
            }
        }
        if (found) {
            RunTask(task, false);
            continue;
        }

        state.waiters.fetch_add(1);
        {
            std::unique_lock lock(wakeMutex_);
            sleepers_.fetch_add(1);
            std::condition_variable& wake = ioThread ? ioWake_ : workerWake_;
            wake.wait(lock, [this, &state, mask] {
                if (state.pending.load() == 0) {
                    return true;
                }
                for (std::size_t p = 0; p < kTaskPriorityCount; ++p) {
                    if ((mask & (1u << p)) != 0 && queued_[p].load() > 0) {
                        return true;
                    }
                }
                return false;
            });
            sleepers_.fetch_sub(1);
        }
        state.waiters.fetch_sub(1);
    }

    std::lock_guard lock(state.mutex);
    if (state.exception) {
        state.observed = true;
        std::rethrow_exception(state.exception);
    }
}

bool TaskSystem::IsComplete(const TaskCounter& counter) const noexcept {
    return counter.State()->pending.load() == 0;
}

bool TaskSystem::HasFailed(const TaskCounter& counter) const {
    Detail::CounterState& state = *counter.State();
    std::lock_guard lock(state.mutex);
    return static_cast<bool>(state.exception);
}

void TaskSystem::ParallelForRanges(std::size_t count, std::size_t grain, TaskPriority priority,
                                   const std::function<void(std::size_t, std::size_t)>& function) {
    if (grain == 0) {
        throw std::invalid_argument("ParallelForRanges needs a grain above 0.");
    }
    const std::size_t ranges = count / grain + (count % grain != 0 ? 1 : 0);
    if (ranges == 0) {
        return;
    }
    const std::size_t helpers = std::min<std::size_t>(workers_.size() + 1, ranges);

    struct Shared {
        std::atomic<std::size_t> next{0};
        std::atomic<bool> stop{false};
    };
    auto shared = std::make_shared<Shared>();
    // One task per helper, not per range: the ranges go out by one atomic increment each.
    auto loop = [shared, ranges, grain, count, &function] {
        while (!shared->stop.load()) {
            const std::size_t i = shared->next.fetch_add(1);
            if (i >= ranges) {
                return;
            }
            const std::size_t begin = i * grain;
            const std::size_t end = begin + std::min(grain, count - begin);
            try {
                function(begin, end);
            } catch (...) {
                shared->stop.store(true);
                throw;
            }
        }
    };

    TaskCounter counter;
    for (std::size_t h = 1; h < helpers; ++h) {
        AddTask(priority, loop, counter);
    }
    std::exception_ptr error;
    try {
        loop();
    } catch (...) {
        error = std::current_exception();
    }
    // The helpers borrow `function`; they must be done before this frame goes.
    try {
        Wait(counter);
    } catch (...) {
        if (!error) {
            error = std::current_exception();
        }
    }
    if (error) {
        std::rethrow_exception(error);
    }
}

void TaskSystem::ParallelFor(std::size_t count, std::size_t grain, std::optional<TaskPriority> priority,
                             const std::function<void(std::size_t)>& function) {
    if (count == 0) {
        return;
    }
    grain = std::max<std::size_t>(grain, 1);
    if (count > grain && !inline_) {
        TaskPriority effective = TaskPriority::High;
        if (priority) {
            effective = *priority;
        } else if (t_currentPriority) {
            effective = *t_currentPriority == TaskPriority::Io ? TaskPriority::Background : *t_currentPriority;
        }
        ParallelForRanges(count, grain, effective, [&function](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end; ++i) {
                function(i);
            }
        });
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        function(i);
    }
}

void TaskSystem::Shutdown(ShutdownMode mode) {
    std::lock_guard shutdownLock(shutdownMutex_);
    if (stopped_.load()) {
        return;
    }
    if (t_system == this && t_role != ThreadRole::None) {
        LogError("TaskSystem::Shutdown called from one of its own threads; ignored.");
        return;
    }
    if (mode == ShutdownMode::Cancel) {
        cancelling_.store(true);
        CancelQueued();
    }
    stopping_.store(true);
    WakeAll();
    JoinThreads();
    stopped_.store(true);

    if (mode == ShutdownMode::Drain) {
        // Whatever slipped in before the threads left. A push that comes after a queue's
        // last look here sees `stopped` and runs inline instead.
        for (std::size_t p = 0; p < kTaskPriorityCount; ++p) {
            Task task;
            while (TryPop(static_cast<TaskPriority>(p), task, true)) {
                RunTask(task, false);
                task = Task{};
            }
        }
    } else {
        CancelQueued();
    }
}

void TaskSystem::CancelQueued() {
    const std::exception_ptr error =
        std::make_exception_ptr(TaskCancelledError("Task was cancelled by task system shutdown."));
    for (std::size_t p = 0; p < kTaskPriorityCount; ++p) {
        CancelTasks(globalQueues_[p].TakeAll(), static_cast<TaskPriority>(p), error);
    }
    for (const std::unique_ptr<Worker>& worker : workers_) {
        for (std::size_t p = 0; p < worker->queues.size(); ++p) {
            CancelTasks(worker->queues[p].TakeAll(), static_cast<TaskPriority>(p), error);
        }
    }
}

void TaskSystem::CancelTasks(std::deque<Task>&& tasks, TaskPriority priority, const std::exception_ptr& error) {
    for (Task& task : tasks) {
        queued_[Index(priority)].fetch_sub(1);
        try {
            task.function = nullptr;
        } catch (...) {
        }
        FinishOnCounter(*task.counter, error);
        task.counter.reset();
        outstanding_.fetch_sub(1);
    }
}

void TaskSystem::JoinThreads() noexcept {
    for (const std::unique_ptr<Worker>& worker : workers_) {
        if (worker->thread.joinable()) {
            worker->thread.join();
        }
    }
    for (std::thread& thread : ioThreads_) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}

bool TaskSystem::IsWorkerThread() const noexcept {
    return t_system == this && t_role == ThreadRole::Worker;
}

std::optional<TaskPriority> TaskSystem::CurrentPriority() noexcept {
    return t_currentPriority;
}

} // namespace Brelk::Core::Tasks
