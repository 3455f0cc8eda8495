#include "engine/core/TaskSystem.h"

#include "engine/core/Logger.h"
#include "engine/core/tests/Deadline.h"
#include "engine/platform/Thread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>

namespace Brelk::Core::Tasks {
namespace {

using Testing::kDeadline;
using Testing::RunWithDeadline;

TaskSystemConfig Workers(std::uint32_t workers, std::uint32_t io = 1,
                         std::optional<std::uint32_t> backgroundLimit = std::nullopt) {
    TaskSystemConfig config;
    config.workerCount = workers;
    config.ioThreadCount = io;
    config.backgroundLimit = backgroundLimit;
    return config;
}

// Holds tasks until the test lets them go; tests use it to keep workers busy on purpose.
class Gate {
public:
    void Open() {
        {
            std::lock_guard lock(mutex_);
            open_ = true;
        }
        changed_.notify_all();
    }
    void Pass() {
        std::unique_lock lock(mutex_);
        ++waiting_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
    }
    void AwaitWaiting(int count) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this, count] { return waiting_ >= count; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
    int waiting_ = 0;
};

// Entries that the global logger got from the given sequence on, by message.
int CountLogged(std::uint64_t after, std::string_view message) {
    int count = 0;
    for (const LogEntry& entry : Logger::Get().HistorySince(after)) {
        count += entry.message == message ? 1 : 0;
    }
    return count;
}

std::uint64_t LatestLogSequence() {
    std::uint64_t latest = 0;
    (void)Logger::Get().HistorySince(~std::uint64_t{0}, &latest);
    return latest;
}

void PollUntil(const std::function<bool()>& condition) {
    while (!condition()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// ---- Layout ----------------------------------------------------------------------------

TEST(TaskSystemLayout, DefaultsFollowTheProcessorCount) {
    const TaskSystemConfig defaults;
    struct Case {
        std::uint32_t processors, workers, backgroundLimit;
    };
    for (const Case c : {Case{0, 1, 1}, Case{1, 1, 1}, Case{2, 1, 1}, Case{8, 7, 6}}) {
        const TaskSystemLayout layout = ResolveTaskSystemLayout(defaults, c.processors);
        EXPECT_EQ(layout.workerCount, c.workers) << c.processors;
        EXPECT_EQ(layout.backgroundLimit, c.backgroundLimit) << c.processors;
        EXPECT_EQ(layout.ioThreadCount, 1u);
    }
}

TEST(TaskSystemLayout, GivenBackgroundLimitIsClampedToOneAndTheWorkerCount) {
    EXPECT_EQ(ResolveTaskSystemLayout(Workers(4, 1, 0), 8).backgroundLimit, 1u);
    EXPECT_EQ(ResolveTaskSystemLayout(Workers(4, 1, 3), 8).backgroundLimit, 3u);
    EXPECT_EQ(ResolveTaskSystemLayout(Workers(4, 1, 100), 8).backgroundLimit, 4u);
}

TEST(TaskSystemLayout, NoWorkersMeansNoIoThreadsEither) {
    const TaskSystemLayout layout = ResolveTaskSystemLayout(Workers(0, 3), 8);
    EXPECT_EQ(layout.workerCount, 0u);
    EXPECT_EQ(layout.ioThreadCount, 0u);
}

// ---- Inline mode -----------------------------------------------------------------------

TEST(TaskSystemInline, SubmitRunsTheTaskBeforeItReturns) {
    TaskSystem system(Workers(0));
    EXPECT_TRUE(system.IsInline());
    EXPECT_EQ(system.WorkerCount(), 0u);
    EXPECT_EQ(system.IoThreadCount(), 0u);
    const std::thread::id caller = std::this_thread::get_id();
    std::thread::id ranOn;
    const TaskCounter counter = system.Submit(TaskPriority::Normal, [&] { ranOn = std::this_thread::get_id(); });
    EXPECT_EQ(ranOn, caller);
    EXPECT_TRUE(system.IsComplete(counter));
    system.Wait(counter);
}

TEST(TaskSystemInline, IoTasksRunInlineAsBackground) {
    TaskSystem system(Workers(0));
    std::optional<TaskPriority> seen;
    const TaskCounter counter = system.Submit(TaskPriority::Io, [&] { seen = TaskSystem::CurrentPriority(); });
    EXPECT_TRUE(system.IsComplete(counter));
    EXPECT_EQ(seen, TaskPriority::Background);
    EXPECT_EQ(TaskSystem::CurrentPriority(), std::nullopt);
}

TEST(TaskSystemInline, FirstOfTwoFailuresIsRethrownAndTheOtherDropped) {
    TaskSystem system(Workers(0));
    TaskCounter counter;
    system.AddTask(TaskPriority::Normal, [] { throw std::runtime_error("first"); }, counter);
    system.AddTask(TaskPriority::Normal, [] { throw std::runtime_error("second"); }, counter);
    EXPECT_TRUE(system.HasFailed(counter));
    try {
        system.Wait(counter);
        FAIL() << "Wait should have thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "first");
    }
}

TEST(TaskSystemInline, EmptyFunctionFailsWithBadFunctionCall) {
    TaskSystem system(Workers(0));
    const TaskCounter counter = system.Submit(TaskPriority::High, std::function<void()>());
    EXPECT_THROW(system.Wait(counter), std::bad_function_call);
}

// ---- Threads ---------------------------------------------------------------------------

TEST(TaskSystem, NamesItsWorkerAndIoThreads) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(1, 1));
        std::string workerName;
        std::string ioName;
        std::atomic<int> done{0};
        // Polled rather than waited for, so that the calling thread runs none of them.
        (void)system.Submit(TaskPriority::Normal, [&] {
            workerName = Platform::GetCurrentThreadName();
            ++done;
        });
        (void)system.Submit(TaskPriority::Io, [&] {
            ioName = Platform::GetCurrentThreadName();
            ++done;
        });
        PollUntil([&] { return done.load() == 2; });
        EXPECT_EQ(workerName, "Brelk Worker 0");
        EXPECT_EQ(ioName, "Brelk IO 0");
    });
}

TEST(TaskSystem, WorkerThreadsRunTasksTheCallerDoesNotWaitFor) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        std::mutex mutex;
        std::set<std::string> names;
        std::atomic<int> done{0};
        for (int i = 0; i < 4; ++i) {
            (void)system.Submit(TaskPriority::Normal, [&] {
                std::lock_guard lock(mutex);
                names.insert(Platform::GetCurrentThreadName());
                ++done;
            });
        }
        (void)system.Submit(TaskPriority::Io, [&] {
            std::lock_guard lock(mutex);
            names.insert(Platform::GetCurrentThreadName());
            ++done;
        });
        PollUntil([&] { return done.load() == 5; });
        std::lock_guard lock(mutex);
        EXPECT_TRUE(names.count("Brelk IO 0"));
        for (const std::string& name : names) {
            EXPECT_TRUE(name == "Brelk IO 0" || name == "Brelk Worker 0" || name == "Brelk Worker 1") << name;
        }
    });
}

TEST(TaskSystem, RunsTenThousandTasksOnOneCounter) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(3, 1));
        std::atomic<int> sum{0};
        TaskCounter counter;
        for (int i = 0; i < 10000; ++i) {
            const TaskPriority priority = static_cast<TaskPriority>(i % 4);
            system.AddTask(priority, [&sum] { sum.fetch_add(1, std::memory_order_relaxed); }, counter);
        }
        system.Wait(counter);
        EXPECT_EQ(sum.load(), 10000);
        EXPECT_TRUE(system.IsComplete(counter));
        EXPECT_FALSE(system.HasFailed(counter));
    });
}

TEST(TaskSystem, ManyThreadsSubmitAndWaitAtOnce) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        std::atomic<int> sum{0};
        std::vector<std::thread> submitters;
        for (int t = 0; t < 4; ++t) {
            submitters.emplace_back([&] {
                for (int round = 0; round < 50; ++round) {
                    TaskCounter counter;
                    for (int i = 0; i < 20; ++i) {
                        system.AddTask(TaskPriority::Normal, [&sum] { sum.fetch_add(1); }, counter);
                    }
                    system.Wait(counter);
                }
            });
        }
        for (std::thread& thread : submitters) {
            thread.join();
        }
        EXPECT_EQ(sum.load(), 4 * 50 * 20);
    });
}

int Fibonacci(TaskSystem& system, int n) {
    if (n < 2) {
        return n;
    }
    int a = 0;
    int b = 0;
    TaskCounter counter;
    system.AddTask(TaskPriority::Normal, [&] { a = Fibonacci(system, n - 1); }, counter);
    system.AddTask(TaskPriority::Normal, [&] { b = Fibonacci(system, n - 2); }, counter);
    system.Wait(counter);
    return a + b;
}

TEST(TaskSystem, NestedWaitsInsideTasksFinish) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        int result = 0;
        const TaskCounter counter = system.Submit(TaskPriority::Normal, [&] { result = Fibonacci(system, 16); });
        system.Wait(counter);
        EXPECT_EQ(result, 987);
    });
}

TEST(TaskSystem, WaitInsideAHighTaskRunsBackgroundWorkPastTheLimit) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 0, 1));
        Gate gate;
        // Takes the only background slot until the end of the test.
        const TaskCounter blocker = system.Submit(TaskPriority::Background, [&] { gate.Pass(); });
        gate.AwaitWaiting(1);
        std::atomic<int> ran{0};
        const TaskCounter outer = system.Submit(TaskPriority::High, [&] {
            TaskCounter inner;
            for (int i = 0; i < 8; ++i) {
                system.AddTask(TaskPriority::Background, [&ran] { ++ran; }, inner);
            }
            system.Wait(inner);
        });
        system.Wait(outer);
        EXPECT_EQ(ran.load(), 8);
        gate.Open();
        system.Wait(blocker);
    });
}

TEST(TaskSystem, BackgroundLimitCapsBackgroundTasksOnWorkers) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(3, 0, 1));
        std::atomic<int> running{0};
        std::atomic<int> peak{0};
        std::atomic<int> done{0};
        for (int i = 0; i < 40; ++i) {
            (void)system.Submit(TaskPriority::Background, [&] {
                const int now = ++running;
                int seen = peak.load();
                while (now > seen && !peak.compare_exchange_weak(seen, now)) {
                }
                std::this_thread::sleep_for(std::chrono::microseconds(200));
                --running;
                ++done;
            });
        }
        PollUntil([&] { return done.load() == 40; });
        EXPECT_EQ(peak.load(), 1);
    });
}

TEST(TaskSystem, IoTaskWithoutIoThreadsRunsAsBackground) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(1, 0));
        std::optional<TaskPriority> seen;
        const TaskCounter counter = system.Submit(TaskPriority::Io, [&] { seen = TaskSystem::CurrentPriority(); });
        system.Wait(counter);
        EXPECT_EQ(seen, TaskPriority::Background);
    });
}

TEST(TaskSystem, IoTaskRunsAtIoPriority) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(1, 1));
        std::optional<TaskPriority> seen;
        bool onWorker = true;
        const TaskCounter counter = system.Submit(TaskPriority::Io, [&] {
            seen = TaskSystem::CurrentPriority();
            onWorker = system.IsWorkerThread();
        });
        system.Wait(counter);
        EXPECT_EQ(seen, TaskPriority::Io);
        EXPECT_FALSE(onWorker);
    });
}

TEST(TaskSystem, KnowsItsOwnWorkers) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(1, 0));
        TaskSystem other(Workers(0));
        std::atomic<bool> mine{false};
        std::atomic<bool> theirs{true};
        std::atomic<bool> done{false};
        (void)system.Submit(TaskPriority::Normal, [&] {
            mine = system.IsWorkerThread();
            theirs = other.IsWorkerThread();
            done = true;
        });
        PollUntil([&] { return done.load(); });
        EXPECT_TRUE(mine.load());
        EXPECT_FALSE(theirs.load());
        EXPECT_FALSE(system.IsWorkerThread());
    });
}

TEST(TaskSystem, CurrentPriorityIsTheRunningTasksAndIsRestoredAfterIt) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(1, 0));
        std::optional<TaskPriority> outer;
        std::optional<TaskPriority> inner;
        std::optional<TaskPriority> afterInner;
        const TaskCounter counter = system.Submit(TaskPriority::Normal, [&] {
            outer = TaskSystem::CurrentPriority();
            const TaskCounter nested = system.Submit(TaskPriority::High, [&] { inner = TaskSystem::CurrentPriority(); });
            system.Wait(nested);
            afterInner = TaskSystem::CurrentPriority();
        });
        system.Wait(counter);
        EXPECT_EQ(outer, TaskPriority::Normal);
        EXPECT_EQ(inner, TaskPriority::High);
        EXPECT_EQ(afterInner, TaskPriority::Normal);
        EXPECT_EQ(TaskSystem::CurrentPriority(), std::nullopt);
    });
}

TEST(TaskSystem, ReleasesWhatATaskCapturedBeforeItsCounterCompletes) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        auto resource = std::make_shared<int>(7);
        const TaskCounter counter = system.Submit(TaskPriority::Normal, [resource] { (void)*resource; });
        system.Wait(counter);
        EXPECT_EQ(resource.use_count(), 1);
    });
}

TEST(TaskSystem, AsyncGivesTheResultOrTheException) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        std::future<int> value = system.Async(TaskPriority::Normal, [] { return 42; });
        std::future<void> failure = system.Async(TaskPriority::Io, [] { throw std::logic_error("async"); });
        EXPECT_EQ(value.get(), 42);
        EXPECT_THROW(failure.get(), std::logic_error);
    });
}

// ---- Failures --------------------------------------------------------------------------

TEST(TaskSystem, WaitRethrowsAFailureEveryTimeAndNothingIsLogged) {
    RunWithDeadline(kDeadline, [] {
        const std::uint64_t before = LatestLogSequence();
        {
            TaskSystem system(Workers(2, 1));
            const TaskCounter counter = system.Submit(TaskPriority::Normal, [] { throw std::runtime_error("broken"); });
            for (int attempt = 0; attempt < 2; ++attempt) {
                try {
                    system.Wait(counter);
                    ADD_FAILURE() << "Wait should have thrown";
                } catch (const std::runtime_error& error) {
                    EXPECT_STREQ(error.what(), "broken");
                }
            }
            EXPECT_TRUE(system.HasFailed(counter));
        }
        EXPECT_EQ(CountLogged(before, "Task failed and nobody waited for it: broken"), 0);
    });
}

TEST(TaskSystem, FailureThatNobodyWaitsForIsLoggedOnce) {
    RunWithDeadline(kDeadline, [] {
        const std::uint64_t before = LatestLogSequence();
        ::testing::internal::CaptureStdout();
        {
            TaskSystem system(Workers(2, 1));
            (void)system.Submit(TaskPriority::Normal, [] { throw std::runtime_error("forgotten"); });
            (void)system.Submit(TaskPriority::Normal, [] { throw 17; });
        }
        (void)::testing::internal::GetCapturedStdout();
        EXPECT_EQ(CountLogged(before, "Task failed and nobody waited for it: forgotten"), 1);
        EXPECT_EQ(CountLogged(before, "Task failed and nobody waited for it: unknown exception"), 1);
    });
}

// ---- Parallel loops --------------------------------------------------------------------

TEST(TaskSystemParallelFor, VisitsEveryIndexOnce) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(3, 1));
        std::vector<std::atomic<int>> visits(10007);
        system.ParallelFor(visits.size(), 64, std::nullopt, [&](std::size_t i) { ++visits[i]; });
        EXPECT_TRUE(std::all_of(visits.begin(), visits.end(), [](const std::atomic<int>& v) { return v == 1; }));
    });
}

TEST(TaskSystemParallelFor, CountUpToTheGrainRunsOnTheCallerWithoutATask) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        for (const std::size_t count : {std::size_t{1}, std::size_t{16}}) {
            std::vector<std::size_t> order;
            bool inTask = false;
            system.ParallelFor(count, 16, TaskPriority::Normal, [&](std::size_t i) {
                order.push_back(i);
                inTask = inTask || TaskSystem::CurrentPriority().has_value();
            });
            ASSERT_EQ(order.size(), count);
            for (std::size_t i = 0; i < count; ++i) {
                EXPECT_EQ(order[i], i);
            }
            EXPECT_FALSE(inTask);
        }
    });
}

TEST(TaskSystemParallelFor, ZeroCountDoesNothingAndZeroGrainCountsAsOne) {
    TaskSystem system(Workers(0));
    int calls = 0;
    system.ParallelFor(0, 4, std::nullopt, [&](std::size_t) { ++calls; });
    EXPECT_EQ(calls, 0);
    system.ParallelFor(3, 0, std::nullopt, [&](std::size_t) { ++calls; });
    EXPECT_EQ(calls, 3);
}

TEST(TaskSystemParallelFor, RangesCoverTheCountInGrainSteps) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        std::mutex mutex;
        std::vector<std::pair<std::size_t, std::size_t>> ranges;
        system.ParallelForRanges(10, 3, TaskPriority::Normal, [&](std::size_t begin, std::size_t end) {
            std::lock_guard lock(mutex);
            ranges.emplace_back(begin, end);
        });
        std::sort(ranges.begin(), ranges.end());
        const std::vector<std::pair<std::size_t, std::size_t>> expected{{0, 3}, {3, 6}, {6, 9}, {9, 10}};
        EXPECT_EQ(ranges, expected);
    });
}

TEST(TaskSystemParallelFor, RangesRejectAGrainOfZero) {
    TaskSystem system(Workers(0));
    EXPECT_THROW(system.ParallelForRanges(4, 0, TaskPriority::Normal, [](std::size_t, std::size_t) {}),
                 std::invalid_argument);
}

TEST(TaskSystemParallelFor, FailingRangeStopsTheOthersAndReachesTheCaller) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        std::atomic<int> ranRanges{0};
        try {
            system.ParallelForRanges(1000, 1, TaskPriority::Normal, [&](std::size_t begin, std::size_t) {
                ++ranRanges;
                if (begin == 0) {
                    throw std::runtime_error("range failed");
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            });
            ADD_FAILURE() << "ParallelForRanges should have thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "range failed");
        }
        EXPECT_LT(ranRanges.load(), 100);
    });
}

TEST(TaskSystemParallelFor, InheritsTheCallingTasksPriority) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        std::mutex mutex;
        std::set<TaskPriority> seen;
        const TaskCounter counter = system.Submit(TaskPriority::Io, [&] {
            system.ParallelFor(64, 1, std::nullopt, [&](std::size_t) {
                std::lock_guard lock(mutex);
                seen.insert(TaskSystem::CurrentPriority().value_or(TaskPriority::High));
            });
        });
        system.Wait(counter);
        // The IO thread itself runs some indices inside its Io task; the helpers run as
        // Background.
        for (const TaskPriority priority : seen) {
            EXPECT_TRUE(priority == TaskPriority::Io || priority == TaskPriority::Background);
        }
    });
}

// ---- Shutdown --------------------------------------------------------------------------

TEST(TaskSystemShutdown, CancelCompletesQueuedCountersWithTaskCancelledError) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(1, 0));
        Gate gate;
        std::atomic<int> ran{0};
        const TaskCounter blocker = system.Submit(TaskPriority::Normal, [&] { gate.Pass(); });
        gate.AwaitWaiting(1);
        std::vector<TaskCounter> queued;
        for (int i = 0; i < 5; ++i) {
            queued.push_back(system.Submit(TaskPriority::Normal, [&ran] { ++ran; }));
        }
        std::thread stopper([&] { system.Shutdown(TaskSystem::ShutdownMode::Cancel); });
        PollUntil([&] {
            return std::all_of(queued.begin(), queued.end(),
                               [&](const TaskCounter& counter) { return system.IsComplete(counter); });
        });
        for (const TaskCounter& counter : queued) {
            try {
                system.Wait(counter);
                ADD_FAILURE() << "Wait should have thrown";
            } catch (const TaskCancelledError& error) {
                EXPECT_STREQ(error.what(), "Task was cancelled by task system shutdown.");
            }
        }
        gate.Open();
        stopper.join();
        system.Wait(blocker);
        EXPECT_EQ(ran.load(), 0);
    });
}

TEST(TaskSystemShutdown, DrainRunsEverythingQueuedIncludingWhatTasksAdd) {
    RunWithDeadline(kDeadline, [] {
        std::atomic<int> ran{0};
        Gate gate;
        auto system = std::make_unique<TaskSystem>(Workers(1, 1));
        (void)system->Submit(TaskPriority::Normal, [&] { gate.Pass(); });
        gate.AwaitWaiting(1);
        TaskSystem* raw = system.get();
        for (int i = 0; i < 100; ++i) {
            (void)system->Submit(static_cast<TaskPriority>(i % 4), [&ran, raw, i] {
                ++ran;
                if (i % 10 == 0) {
                    (void)raw->Submit(TaskPriority::Background, [&ran] { ++ran; });
                }
            });
        }
        std::thread destroyer([&] { system.reset(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        gate.Open();
        destroyer.join();
        EXPECT_EQ(ran.load(), 110);
    });
}

TEST(TaskSystemShutdown, TaskSubmittedAfterShutdownRunsInlineOnTheSubmitter) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        system.Shutdown(TaskSystem::ShutdownMode::Drain);
        system.Shutdown(TaskSystem::ShutdownMode::Cancel);
        const std::thread::id caller = std::this_thread::get_id();
        std::thread::id ranOn;
        const TaskCounter counter = system.Submit(TaskPriority::Io, [&] { ranOn = std::this_thread::get_id(); });
        EXPECT_TRUE(system.IsComplete(counter));
        EXPECT_EQ(ranOn, caller);
    });
}

TEST(TaskSystemShutdown, FromAWorkerIsIgnoredWithAnErrorLine) {
    RunWithDeadline(kDeadline, [] {
        const std::uint64_t before = LatestLogSequence();
        TaskSystem system(Workers(1, 0));
        ::testing::internal::CaptureStdout();
        std::atomic<bool> done{false};
        (void)system.Submit(TaskPriority::Normal, [&] {
            system.Shutdown(TaskSystem::ShutdownMode::Cancel);
            done = true;
        });
        PollUntil([&] { return done.load(); });
        (void)::testing::internal::GetCapturedStdout();
        EXPECT_EQ(CountLogged(before, "TaskSystem::Shutdown called from one of its own threads; ignored."), 1);
        std::atomic<int> ran{0};
        const TaskCounter counter = system.Submit(TaskPriority::Normal, [&] { ++ran; });
        system.Wait(counter);
        EXPECT_EQ(ran.load(), 1);
    });
}

// ---- The current system ----------------------------------------------------------------

TEST(TaskSystemCurrent, InstallExchangesAndTheDestructorClears) {
    TaskSystem* const previous = TaskSystem::Install(nullptr);
    {
        TaskSystem system(Workers(0));
        EXPECT_EQ(TaskSystem::Install(&system), nullptr);
        EXPECT_EQ(TaskSystem::Current(), &system);
        EXPECT_EQ(&TaskSystem::Get(), &system);
    }
    EXPECT_EQ(TaskSystem::Current(), nullptr);
    TaskSystem::Install(previous);
}

TEST(TaskSystemCurrent, GetWithoutAnInstalledSystemIsInlineAndWarnsOnce) {
    TaskSystem* const previous = TaskSystem::Install(nullptr);
    ::testing::internal::CaptureStdout();
    const std::uint64_t before = LatestLogSequence();
    TaskSystem& first = TaskSystem::Get();
    TaskSystem& second = TaskSystem::Get();
    (void)::testing::internal::GetCapturedStdout();
    TaskSystem::Install(previous);
    EXPECT_EQ(&first, &second);
    EXPECT_TRUE(first.IsInline());
    // The warning comes with the first use in the process, which may have been earlier.
    EXPECT_LE(CountLogged(before, "TaskSystem::Get() used without an installed task system; tasks run inline."), 1);
    int total = 0;
    for (const LogEntry& entry : Logger::Get().History()) {
        total += entry.message == "TaskSystem::Get() used without an installed task system; tasks run inline." ? 1 : 0;
    }
    EXPECT_EQ(total, 1);
}

} // namespace
} // namespace Brelk::Core::Tasks
