// The entity store against the plain std::vector code it has to stay close to: creating
// one million entities, giving them components, walking them and looking them up one by
// one. Each registry case has its vector baseline next to it, run in the same process.
#include "engine/scene/Registry.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <numeric>
#include <vector>

namespace {

using Brelk::Scene::Entity;
using Brelk::Scene::Registry;

constexpr std::int64_t kEntityCount = 1'000'000;

struct Position {
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
};

struct Velocity {
    float x = 1.0f;
    float y = 0.0f;
    float z = 0.0f;
};

std::vector<Entity> FillRegistry(Registry& registry, std::int64_t count, bool withVelocity) {
    std::vector<Entity> entities;
    entities.reserve(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i) {
        const Entity entity = registry.CreateEntity();
        registry.Emplace(entity, Position{static_cast<float>(i), 0.0f, 0.0f});
        if (withVelocity) {
            registry.Emplace(entity, Velocity{});
        }
        entities.push_back(entity);
    }
    return entities;
}

void BM_RegistryCreate(benchmark::State& state) {
    for (auto _ : state) {
        Registry registry;
        for (std::int64_t i = 0; i < kEntityCount; ++i) {
            benchmark::DoNotOptimize(registry.CreateEntity());
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_RegistryCreate)->Unit(benchmark::kMillisecond);

void BM_VectorCreate(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::uint32_t> ids;
        for (std::int64_t i = 0; i < kEntityCount; ++i) {
            ids.push_back(static_cast<std::uint32_t>(i + 1));
        }
        benchmark::DoNotOptimize(ids.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_VectorCreate)->Unit(benchmark::kMillisecond);

void BM_RegistryCreateAndEmplace(benchmark::State& state) {
    for (auto _ : state) {
        Registry registry;
        for (std::int64_t i = 0; i < kEntityCount; ++i) {
            const Entity entity = registry.CreateEntity();
            benchmark::DoNotOptimize(&registry.Emplace(entity, Position{static_cast<float>(i), 0.0f, 0.0f}));
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_RegistryCreateAndEmplace)->Unit(benchmark::kMillisecond);

void BM_VectorCreateAndEmplace(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::uint32_t> ids;
        std::vector<Position> positions;
        for (std::int64_t i = 0; i < kEntityCount; ++i) {
            ids.push_back(static_cast<std::uint32_t>(i + 1));
            positions.push_back(Position{static_cast<float>(i), 0.0f, 0.0f});
        }
        benchmark::DoNotOptimize(ids.data());
        benchmark::DoNotOptimize(positions.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_VectorCreateAndEmplace)->Unit(benchmark::kMillisecond);

void BM_RegistryIterateOne(benchmark::State& state) {
    Registry registry;
    FillRegistry(registry, kEntityCount, false);
    for (auto _ : state) {
        float sum = 0.0f;
        registry.Each<Position>([&](Entity, Position& position) { sum += position.x; });
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_RegistryIterateOne)->Unit(benchmark::kMillisecond);

void BM_VectorIterateOne(benchmark::State& state) {
    std::vector<Position> positions(static_cast<std::size_t>(kEntityCount));
    for (std::size_t i = 0; i < positions.size(); ++i) {
        positions[i].x = static_cast<float>(i);
    }
    for (auto _ : state) {
        float sum = 0.0f;
        for (const Position& position : positions) {
            sum += position.x;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_VectorIterateOne)->Unit(benchmark::kMillisecond);

void BM_RegistryIterateTwo(benchmark::State& state) {
    Registry registry;
    FillRegistry(registry, kEntityCount, true);
    for (auto _ : state) {
        registry.Each<Position, Velocity>([](Entity, Position& position, Velocity& velocity) {
            position.x += velocity.x;
            position.y += velocity.y;
            position.z += velocity.z;
        });
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_RegistryIterateTwo)->Unit(benchmark::kMillisecond);

void BM_VectorIterateTwo(benchmark::State& state) {
    std::vector<Position> positions(static_cast<std::size_t>(kEntityCount));
    std::vector<Velocity> velocities(static_cast<std::size_t>(kEntityCount));
    for (auto _ : state) {
        for (std::size_t i = 0; i < positions.size(); ++i) {
            positions[i].x += velocities[i].x;
            positions[i].y += velocities[i].y;
            positions[i].z += velocities[i].z;
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_VectorIterateTwo)->Unit(benchmark::kMillisecond);

void BM_RegistryGetByHandle(benchmark::State& state) {
    Registry registry;
    const std::vector<Entity> entities = FillRegistry(registry, kEntityCount, false);
    for (auto _ : state) {
        float sum = 0.0f;
        for (const Entity entity : entities) {
            sum += registry.Get<Position>(entity).x;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_RegistryGetByHandle)->Unit(benchmark::kMillisecond);

void BM_VectorGetByIndex(benchmark::State& state) {
    std::vector<Position> positions(static_cast<std::size_t>(kEntityCount));
    std::vector<std::uint32_t> indices(positions.size());
    std::iota(indices.begin(), indices.end(), 0u);
    for (auto _ : state) {
        float sum = 0.0f;
        for (const std::uint32_t index : indices) {
            sum += positions[index].x;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_VectorGetByIndex)->Unit(benchmark::kMillisecond);

void BM_RegistryDestroyAll(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        Registry registry;
        FillRegistry(registry, kEntityCount, true);
        state.ResumeTiming();
        // Clear walks from the back, where the ordered erase from `entities` is cheap.
        registry.Clear();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_RegistryDestroyAll)->Unit(benchmark::kMillisecond);

} // namespace
