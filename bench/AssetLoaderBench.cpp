#include "engine/assets/loader/AssetLoader.h"

#include "engine/core/TaskSystem.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <mutex>
#include <vector>

namespace {

using Brelk::Assets::AssetHandle;
using Brelk::Assets::AssetLoader;
using Brelk::Assets::AssetLoaderConfig;
using Brelk::Assets::AssetLoadHandler;
using Brelk::Assets::AssetLoadLease;
using Brelk::Assets::AssetLoadPayload;
using Brelk::Assets::AssetLoadRecipe;
using Brelk::Assets::AssetLoadState;
using Brelk::Assets::AssetType;
using Brelk::Core::Tasks::TaskCounter;
using Brelk::Core::Tasks::TaskPriority;
using Brelk::Core::Tasks::TaskSystem;
using Brelk::Core::Tasks::TaskSystemConfig;

constexpr AssetHandle kAssets = 10000;

std::vector<std::uint8_t> ReadTiny() {
    return std::vector<std::uint8_t>(16, 7);
}

AssetLoadPayload DecodeTiny(std::vector<std::uint8_t> bytes) {
    return AssetLoadPayload{std::make_shared<std::uint64_t>(bytes.size()), bytes.size()};
}

// A family of tiny assets: 16 bytes read, decoded into a number, published into a table.
AssetLoadHandler TinyHandler(std::vector<std::uint64_t>& table, std::vector<AssetHandle> dependencies = {}) {
    AssetLoadHandler handler;
    handler.prepare = [&table, dependencies](AssetHandle handle) {
        AssetLoadRecipe recipe;
        if (handle <= dependencies.size()) recipe.dependencies = {{dependencies[handle - 1], AssetType::Mesh}};
        recipe.read = ReadTiny;
        recipe.decode = DecodeTiny;
        recipe.publish = [&table, handle](AssetLoadPayload& payload) {
            table[handle % table.size()] = *static_cast<std::uint64_t*>(payload.data.get());
        };
        return recipe;
    };
    return handler;
}

// Request, update and publish of 10,000 tiny assets through the loader, until all are ready.
void LoaderTenThousandTinyAssets(benchmark::State& state) {
    TaskSystem tasks{TaskSystemConfig{}};
    TaskSystem* previous = TaskSystem::Install(&tasks);
    std::vector<std::uint64_t> table(kAssets);
    std::uint64_t updates = 0;
    for (auto _ : state) {
        AssetLoader loader(AssetLoaderConfig{~std::uint64_t{0}, static_cast<std::uint32_t>(kAssets), 0});
        loader.RegisterHandler(AssetType::Mesh, TinyHandler(table));
        std::vector<AssetLoadLease> leases;
        leases.reserve(kAssets);
        for (AssetHandle handle = 1; handle <= kAssets; ++handle) {
            leases.push_back(loader.Request(handle, AssetType::Mesh, 1));
        }
        while (loader.Stats().ready < kAssets) {
            loader.Update();
            ++updates;
        }
    }
    TaskSystem::Install(previous);
    state.SetItemsProcessed(state.iterations() * kAssets);
    state.counters["updates"] = benchmark::Counter(static_cast<double>(updates) / static_cast<double>(state.iterations()));
}
BENCHMARK(LoaderTenThousandTinyAssets)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floor: the same 10,000 reads on the IO lane, each followed by its decode on a worker,
// submitted straight to the task system, and the results stored under a mutex.
void TaskSystemTenThousandReadDecodeTasks(benchmark::State& state) {
    TaskSystem tasks{TaskSystemConfig{}};
    std::vector<std::uint64_t> table(kAssets);
    std::mutex mutex;
    for (auto _ : state) {
        TaskCounter counter;
        for (AssetHandle handle = 1; handle <= kAssets; ++handle) {
            tasks.AddTask(
                TaskPriority::Io,
                [&, handle, counter] {
                    tasks.AddTask(
                        TaskPriority::Normal,
                        [&, handle, bytes = ReadTiny()]() mutable {
                            const AssetLoadPayload payload = DecodeTiny(std::move(bytes));
                            std::lock_guard lock(mutex);
                            table[handle % table.size()] = *static_cast<std::uint64_t*>(payload.data.get());
                        },
                        counter);
                },
                counter);
        }
        tasks.Wait(counter);
    }
    state.SetItemsProcessed(state.iterations() * kAssets);
}
BENCHMARK(TaskSystemTenThousandReadDecodeTasks)->Unit(benchmark::kMillisecond)->UseRealTime();

// Wait on an asset behind a chain of three: each link read and decoded in turn.
void LoaderWaitBehindThreeDeepChain(benchmark::State& state) {
    TaskSystem tasks{TaskSystemConfig{}};
    TaskSystem* previous = TaskSystem::Install(&tasks);
    std::vector<std::uint64_t> table(8);
    AssetLoader loader(AssetLoaderConfig{});
    loader.RegisterHandler(AssetType::Mesh, TinyHandler(table, {2, 3, 4}));
    for (auto _ : state) {
        const AssetLoadLease lease = loader.Request(1, AssetType::Mesh, 3);
        if (!loader.Wait(lease)) state.SkipWithError("The chain did not load.");
        state.PauseTiming();
        loader.Reset();
        state.ResumeTiming();
    }
    TaskSystem::Install(previous);
}
BENCHMARK(LoaderWaitBehindThreeDeepChain)->Unit(benchmark::kMicrosecond)->UseRealTime();

// The floor of that wait: the same four reads and decodes, one after another, each waited for.
void TaskSystemFourReadDecodesInTurn(benchmark::State& state) {
    TaskSystem tasks{TaskSystemConfig{}};
    std::uint64_t sum = 0;
    for (auto _ : state) {
        for (int link = 0; link < 4; ++link) {
            TaskCounter counter;
            tasks.AddTask(
                TaskPriority::Io,
                [&, counter] {
                    tasks.AddTask(
                        TaskPriority::Normal,
                        [&, bytes = ReadTiny()]() mutable { sum += *static_cast<std::uint64_t*>(DecodeTiny(std::move(bytes)).data.get()); },
                        counter);
                },
                counter);
            tasks.Wait(counter);
        }
    }
    benchmark::DoNotOptimize(sum);
}
BENCHMARK(TaskSystemFourReadDecodesInTurn)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace
