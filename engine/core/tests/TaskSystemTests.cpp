#include "engine/core/TaskSystem.h"

#include "engine/core/Logger.h"
#include "tests/support/Deadline.h"
#include "engine/platform/Thread.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <set>

namespace Brelk::Core::Tasks {
namespace {

using Brelk::Testing::ThrownMessage;
using Testing::kDeadline;
using Testing::RunWithDeadline;
using Strings = std::vector<std::string>;

TaskSystemConfig Workers(std::uint32_t workers, std::uint32_t io = 1, std::optional<std::uint32_t> backgroundLimit = {}) {
    return {workers, io, backgroundLimit};
}

// Keeps a thread busy until the test opens it.
struct Gate {
    void Pass() {
        reached.set_value();
        opened.wait();
    }
    std::promise<void> reached, open;
    std::future<void> hasReached = reached.get_future();
    std::shared_future<void> opened = open.get_future().share();
};

// The messages of the global logger after a sequence that start with a prefix, sorted.
Strings Logged(std::uint64_t after, std::string_view prefix) {
    Strings messages;
    for (const LogEntry& entry : Logger::Get().HistorySince(after))
        if (entry.message.starts_with(prefix)) messages.push_back(entry.message);
    std::sort(messages.begin(), messages.end());
    return messages;
}

std::uint64_t LatestLogSequence() {
    std::uint64_t latest = 0;
    (void)Logger::Get().HistorySince(~std::uint64_t{0}, &latest);
    return latest;
}

// Polled, so that the calling thread runs none of the tasks.
void PollUntil(const std::function<bool()>& condition) {
    while (!condition()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST(TaskSystemLayout, FollowsTheProcessorCountAndClampsTheBackgroundLimit) {
    struct Case {
        TaskSystemConfig config;
        std::uint32_t processors, workers, io, backgroundLimit;
    };
    const Case cases[] = {
        {{}, 0, 1, 1, 1}, {{}, 1, 1, 1, 1}, {{}, 2, 1, 1, 1}, {{}, 8, 7, 1, 6},
        {Workers(4, 1, 0), 8, 4, 1, 1}, {Workers(4, 1, 3), 8, 4, 1, 3},
        {Workers(4, 1, 100), 8, 4, 1, 4}, {Workers(0, 3), 8, 0, 0, 1},
    };
    for (const Case& c : cases) {
        const TaskSystemLayout layout = ResolveTaskSystemLayout(c.config, c.processors);
        EXPECT_EQ(std::tuple(layout.workerCount, layout.ioThreadCount, layout.backgroundLimit),
                  std::tuple(c.workers, c.io, c.backgroundLimit))
            << c.processors << " processors";
    }
}

TEST(TaskSystem, CurrentPriorityIsTheRunningTasksWithIoAsBackgroundWithoutIoThreads) {
    for (const std::uint32_t workers : {0u, 1u}) {
        RunWithDeadline(kDeadline, [workers] {
            TaskSystem system(Workers(workers, 0));
            std::optional<TaskPriority> io, outer, inner, afterInner;
            system.Wait(system.Submit(TaskPriority::Io, [&] { io = TaskSystem::CurrentPriority(); }));
            system.Wait(system.Submit(TaskPriority::Normal, [&] {
                outer = TaskSystem::CurrentPriority();
                system.Wait(system.Submit(TaskPriority::High, [&] { inner = TaskSystem::CurrentPriority(); }));
                afterInner = TaskSystem::CurrentPriority();
            }));
            EXPECT_EQ(std::tuple(io, outer, inner, afterInner),
                      std::tuple(TaskPriority::Background, TaskPriority::Normal, TaskPriority::High, TaskPriority::Normal))
                << workers << " workers";
            EXPECT_EQ(TaskSystem::CurrentPriority(), std::nullopt);
        });
    }
}

// ---- Threads ---------------------------------------------------------------------------

TEST(TaskSystem, RunsTasksOnItsNamedWorkerAndIoThreadsAtTheirPriority) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(2, 1));
        TaskSystem other(Workers(0));
        std::mutex mutex;
        std::multiset<std::string> seen;
        for (const TaskPriority priority :
             {TaskPriority::High, TaskPriority::Normal, TaskPriority::Background, TaskPriority::Io}) {
            (void)system.Submit(priority, [&, priority] {
                std::string name = Platform::GetCurrentThreadName();
                if (name == "Brelk Worker 0" || name == "Brelk Worker 1") name = "worker";
                if (system.IsWorkerThread()) name += " mine";
                if (other.IsWorkerThread()) name += " theirs";
                if (TaskSystem::CurrentPriority() != priority) name += " at another priority";
                std::lock_guard lock(mutex);
                seen.insert(name);
            });
        }
        PollUntil([&] {
            std::lock_guard lock(mutex);
            return seen.size() == 4;
        });
        EXPECT_EQ(seen, (std::multiset<std::string>{"Brelk IO 0", "worker mine", "worker mine", "worker mine"}));
        EXPECT_FALSE(system.IsWorkerThread());
    });
}

int Fibonacci(TaskSystem& system, int n) {
    if (n < 2) return n;
    int a = 0, b = 0;
    TaskCounter counter;
    system.AddTask(TaskPriority::Normal, [&] { a = Fibonacci(system, n - 1); }, counter);
    system.AddTask(TaskPriority::Normal, [&] { b = Fibonacci(system, n - 2); }, counter);
    system.Wait(counter);
    return a + b;
}

TEST(TaskSystem, ManyThreadsSubmitAndWaitForTenThousandTasksAtOnceAndNestedWaitsFinish) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(3, 1));
        std::atomic<int> sum{0};
        std::vector<std::thread> submitters;
        for (int t = 0; t < 4; ++t) {
            submitters.emplace_back([&] {
                for (int round = 0; round < 50; ++round) {
                    TaskCounter counter;
                    for (int i = 0; i < 50; ++i)
                        system.AddTask(static_cast<TaskPriority>(i % 4), [&sum] { sum.fetch_add(1); }, counter);
                    system.Wait(counter);
                    EXPECT_TRUE(system.IsComplete(counter) && !system.HasFailed(counter));
                }
            });
        }
        for (std::thread& thread : submitters) thread.join();
        EXPECT_EQ(sum.load(), 10000);
        int result = 0;
        system.Wait(system.Submit(TaskPriority::Normal, [&] { result = Fibonacci(system, 16); }));
        EXPECT_EQ(result, 987);
    });
}

TEST(TaskSystem, BackgroundLimitCapsBackgroundTasksOnWorkersButAWaitInsideAHighTaskRunsThemPastIt) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(3, 0, 1));
        std::atomic<int> running{0}, done{0};
        std::atomic<bool> overlapped{false};
        for (int i = 0; i < 40; ++i) {
            (void)system.Submit(TaskPriority::Background, [&] {
                if (++running > 1) overlapped = true;
                std::this_thread::sleep_for(std::chrono::microseconds(200));
                --running;
                ++done;
            });
        }
        PollUntil([&] { return done.load() == 40; });
        EXPECT_FALSE(overlapped.load());

        Gate gate;
        const TaskCounter blocker = system.Submit(TaskPriority::Background, [&] { gate.Pass(); });
        gate.hasReached.wait();
        std::atomic<int> ran{0};
        system.Wait(system.Submit(TaskPriority::High, [&] {
            TaskCounter inner;
            for (int i = 0; i < 8; ++i) system.AddTask(TaskPriority::Background, [&ran] { ++ran; }, inner);
            system.Wait(inner);
        }));
        EXPECT_EQ(ran.load(), 8);
        gate.open.set_value();
        system.Wait(blocker);
    });
}

TEST(TaskSystem, WaitAndAsyncRethrowEveryTimeAndOnlyFailuresNobodyWaitedForAreLogged) {
    RunWithDeadline(kDeadline, [] {
        const std::uint64_t before = LatestLogSequence();
        ::testing::internal::CaptureStdout();
        {
            TaskSystem system(Workers(2, 1));
            std::future<int> value = system.Async(TaskPriority::Normal, [] { return 42; });
            std::future<void> failure = system.Async(TaskPriority::Io, [] { throw std::logic_error("async"); });
            EXPECT_EQ(value.get(), 42);
            EXPECT_THROW(failure.get(), std::logic_error);
            // Captures are released before the counter completes.
            auto resource = std::make_shared<int>(7);
            system.Wait(system.Submit(TaskPriority::Normal, [resource] { (void)*resource; }));
            EXPECT_EQ(resource.use_count(), 1);
            const TaskCounter counter = system.Submit(TaskPriority::Normal, [] { throw std::runtime_error("broken"); });
            for (int again = 0; again < 2; ++again) EXPECT_EQ(ThrownMessage([&] { system.Wait(counter); }), "broken");
            EXPECT_TRUE(system.HasFailed(counter));
            (void)system.Submit(TaskPriority::Normal, [] { throw std::runtime_error("forgotten"); });
            (void)system.Submit(TaskPriority::Normal, [] { throw 17; });
        }
        (void)::testing::internal::GetCapturedStdout();
        EXPECT_EQ(Logged(before, "Task failed"), (Strings{"Task failed and nobody waited for it: forgotten",
                                                          "Task failed and nobody waited for it: unknown exception"}));
    });
}

// ---- Parallel loops --------------------------------------------------------------------

TEST(TaskSystemParallelFor, VisitsEveryIndexOnceInGrainRangesStopsAtAFailureAndInheritsTheTasksPriority) {
    RunWithDeadline(kDeadline, [] {
        TaskSystem system(Workers(3, 1));
        std::vector<std::atomic<int>> visits(10007);
        system.ParallelFor(visits.size(), 64, std::nullopt, [&](std::size_t i) { ++visits[i]; });
        EXPECT_TRUE(std::all_of(visits.begin(), visits.end(), [](const std::atomic<int>& v) { return v == 1; }));
        std::mutex mutex;
        std::vector<std::pair<std::size_t, std::size_t>> ranges;
        system.ParallelForRanges(10, 3, TaskPriority::Normal, [&](std::size_t begin, std::size_t end) {
            std::lock_guard lock(mutex);
            ranges.emplace_back(begin, end);
        });
        std::sort(ranges.begin(), ranges.end());
        EXPECT_EQ(ranges, (std::vector<std::pair<std::size_t, std::size_t>>{{0, 3}, {3, 6}, {6, 9}, {9, 10}}));
        for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{16}}) {
            // A single grain runs on the calling thread, in order and in no task: an index seen
            // inside a task is written as the count, which no index is.
            std::vector<std::size_t> order, expected(count);
            std::iota(expected.begin(), expected.end(), std::size_t{0});
            system.ParallelFor(count, 16, TaskPriority::Normal,
                               [&](std::size_t i) { order.push_back(TaskSystem::CurrentPriority() ? count : i); });
            EXPECT_EQ(order, expected);
        }
        int calls = 0;
        system.ParallelFor(3, 0, std::nullopt, [&](std::size_t) { ++calls; });
        EXPECT_EQ(calls, 3);
        EXPECT_THROW(system.ParallelForRanges(4, 0, TaskPriority::Normal, [](std::size_t, std::size_t) {}),
                     std::invalid_argument);

        std::atomic<int> ranRanges{0};
        EXPECT_EQ(ThrownMessage([&] {
                      system.ParallelForRanges(1000, 1, TaskPriority::Normal, [&](std::size_t begin, std::size_t) {
                          ++ranRanges;
                          if (begin == 0) throw std::runtime_error("range failed");
                          std::this_thread::sleep_for(std::chrono::milliseconds(1));
                      });
                  }),
                  "range failed");
        EXPECT_LT(ranRanges.load(), 100);
        // A failure on a helper, not the caller, comes back too once the helpers are done.
        EXPECT_EQ(ThrownMessage([&] {
                      system.ParallelForRanges(1000, 1, TaskPriority::Normal, [](std::size_t, std::size_t) {
                          if (TaskSystem::CurrentPriority()) throw std::runtime_error("helper failed");
                          std::this_thread::sleep_for(std::chrono::microseconds(100));
                      });
                  }),
                  "helper failed");
        std::set<TaskPriority> seen;
        system.Wait(system.Submit(TaskPriority::Io, [&] {
            system.ParallelFor(64, 1, std::nullopt, [&](std::size_t) {
                std::lock_guard lock(mutex);
                seen.insert(TaskSystem::CurrentPriority().value_or(TaskPriority::High));
            });
        }));
        EXPECT_TRUE(std::ranges::all_of(
            seen, [](TaskPriority priority) { return priority == TaskPriority::Io || priority == TaskPriority::Background; }));
    });
}

// ---- Shutdown --------------------------------------------------------------------------

TEST(TaskSystemShutdown, DrainRunsEverythingQueuedIncludingWhatTasksAdd) {
    RunWithDeadline(kDeadline, [] {
        std::atomic<int> ran{0};
        Gate gate;
        auto system = std::make_unique<TaskSystem>(Workers(1, 1));
        (void)system->Submit(TaskPriority::Normal, [&] { gate.Pass(); });
        gate.hasReached.wait();
        for (int i = 0; i < 100; ++i) {
            (void)system->Submit(static_cast<TaskPriority>(i % 4), [&ran, raw = system.get(), i] {
                ++ran;
                if (i % 10 == 0) (void)raw->Submit(TaskPriority::Background, [&ran] { ++ran; });
            });
        }
        std::thread destroyer([&] { system.reset(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        gate.open.set_value();
        destroyer.join();
        EXPECT_EQ(ran.load(), 110);
    });
}

TEST(TaskSystemShutdown, FromAWorkerIsIgnoredWithAnErrorLineCancelFailsQueuedTasksAndLaterOnesRunInline) {
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
        EXPECT_EQ(Logged(before, "TaskSystem::Shutdown"),
                  Strings{"TaskSystem::Shutdown called from one of its own threads; ignored."});

        // The worker still runs tasks after the ignored call.
        Gate gate;
        std::atomic<int> ran{0};
        const TaskCounter blocker = system.Submit(TaskPriority::Normal, [&] { gate.Pass(); });
        gate.hasReached.wait();
        std::vector<TaskCounter> queued;
        for (int i = 0; i < 5; ++i) queued.push_back(system.Submit(TaskPriority::Normal, [&ran] { ++ran; }));
        std::thread stopper([&] { system.Shutdown(TaskSystem::ShutdownMode::Cancel); });
        PollUntil([&] {
            return std::all_of(queued.begin(), queued.end(), [&](const TaskCounter& c) { return system.IsComplete(c); });
        });
        for (const TaskCounter& counter : queued) {
            EXPECT_THROW(system.Wait(counter), TaskCancelledError);
            EXPECT_EQ(ThrownMessage([&] { system.Wait(counter); }), "Task was cancelled by task system shutdown.");
        }
        gate.open.set_value();
        stopper.join();
        system.Wait(blocker);
        EXPECT_EQ(ran.load(), 0);
        system.Shutdown(TaskSystem::ShutdownMode::Drain);
        std::thread::id ranOn;
        const TaskCounter counter = system.Submit(TaskPriority::Io, [&] { ranOn = std::this_thread::get_id(); });
        EXPECT_TRUE(system.IsComplete(counter) && ranOn == std::this_thread::get_id());
    });
}

// ---- The current system ----------------------------------------------------------------

TEST(TaskSystemCurrent, InstallExchangesAnInlineSystemTheDestructorClearsAndGetFallsBackToInlineWithOneWarning) {
    TaskSystem* const previous = TaskSystem::Install(nullptr);
    {
        TaskSystem system(Workers(0));
        EXPECT_EQ(TaskSystem::Install(&system), nullptr);
        EXPECT_EQ(TaskSystem::Current(), &system);
        EXPECT_EQ(&TaskSystem::Get(), &system);
        // Without threads a task runs before Submit returns and Wait rethrows the first failure.
        EXPECT_TRUE(system.IsInline() && system.WorkerCount() + system.IoThreadCount() == 0);
        std::thread::id ranOn;
        const TaskCounter ran = system.Submit(TaskPriority::Normal, [&] { ranOn = std::this_thread::get_id(); });
        EXPECT_TRUE(system.IsComplete(ran) && ranOn == std::this_thread::get_id());
        TaskCounter counter;
        system.AddTask(TaskPriority::Normal, [] { throw std::runtime_error("first"); }, counter);
        system.AddTask(TaskPriority::Normal, [] { throw std::runtime_error("second"); }, counter);
        EXPECT_TRUE(system.HasFailed(counter));
        EXPECT_EQ(ThrownMessage([&] { system.Wait(counter); }), "first");
        const TaskCounter empty = system.Submit(TaskPriority::High, std::function<void()>());
        EXPECT_THROW(system.Wait(empty), std::bad_function_call);
    }
    EXPECT_EQ(TaskSystem::Current(), nullptr);
    const char* const warning = "TaskSystem::Get() used without an installed task system; tasks run inline.";
    ::testing::internal::CaptureStdout();
    TaskSystem& first = TaskSystem::Get();
    TaskSystem& second = TaskSystem::Get();
    (void)::testing::internal::GetCapturedStdout();
    TaskSystem::Install(previous);
    EXPECT_EQ(&first, &second);
    EXPECT_TRUE(first.IsInline());
    // The warning comes with the first use in the process, which may have been earlier.
    EXPECT_EQ(Logged(0, warning), Strings{warning});
}

} // namespace
} // namespace Brelk::Core::Tasks
