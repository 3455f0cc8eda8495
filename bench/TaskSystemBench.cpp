#include "engine/core/TaskSystem.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using Brelk::Core::Tasks::TaskCounter;
using Brelk::Core::Tasks::TaskPriority;
using Brelk::Core::Tasks::TaskSystem;
using Brelk::Core::Tasks::TaskSystemConfig;

constexpr int kBatch = 10000;

// One empty task, submitted and waited for: the round trip that a caller pays per task.
void TaskSystemSubmitAndWaitOne(benchmark::State& state) {
    TaskSystem system{TaskSystemConfig{}};
    for (auto _ : state) {
        const TaskCounter counter = system.Submit(TaskPriority::Normal, [] {});
        system.Wait(counter);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(TaskSystemSubmitAndWaitOne)->UseRealTime();

// The same work on a thread of its own: what the pool saves.
void StdThreadSpawnAndJoinOne(benchmark::State& state) {
    for (auto _ : state) {
        std::thread thread([] {});
        thread.join();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(StdThreadSpawnAndJoinOne)->UseRealTime();

void TaskSystemBatchOfTinyTasks(benchmark::State& state) {
    TaskSystem system{TaskSystemConfig{}};
    std::atomic<int> sum{0};
    for (auto _ : state) {
        TaskCounter counter;
        for (int i = 0; i < kBatch; ++i) {
            system.AddTask(TaskPriority::Normal, [&sum] { sum.fetch_add(1, std::memory_order_relaxed); }, counter);
        }
        system.Wait(counter);
    }
    benchmark::DoNotOptimize(sum.load());
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(TaskSystemBatchOfTinyTasks)->Unit(benchmark::kMillisecond)->UseRealTime();

void TaskSystemParallelForOfTinyItems(benchmark::State& state) {
    TaskSystem system{TaskSystemConfig{}};
    std::atomic<int> sum{0};
    for (auto _ : state) {
        system.ParallelFor(kBatch, 64, TaskPriority::Normal,
                           [&sum](std::size_t) { sum.fetch_add(1, std::memory_order_relaxed); });
    }
    benchmark::DoNotOptimize(sum.load());
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(TaskSystemParallelForOfTinyItems)->Unit(benchmark::kMillisecond)->UseRealTime();

// A thread per tiny task, at most as many at once as the machine has processors.
void StdThreadBatchOfTinyTasks(benchmark::State& state) {
    const unsigned width = std::max(1u, std::thread::hardware_concurrency());
    std::atomic<int> sum{0};
    std::vector<std::thread> threads;
    threads.reserve(width);
    for (auto _ : state) {
        for (int i = 0; i < kBatch;) {
            threads.clear();
            for (unsigned k = 0; k < width && i < kBatch; ++k, ++i) {
                threads.emplace_back([&sum] { sum.fetch_add(1, std::memory_order_relaxed); });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
        }
    }
    benchmark::DoNotOptimize(sum.load());
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(StdThreadBatchOfTinyTasks)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
