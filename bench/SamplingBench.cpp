#include "tools/worldgen/Sampling.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

using namespace Brelk::WorldGen;

// One terrain tile's worth of samples per iteration batch: the generator's innermost loop.
void BM_SampleHeight(benchmark::State& state) {
    const ProceduralWorldSettings settings;
    float x = -768.0f;
    float z = 311.0f;
    for (auto _ : state) {
        benchmark::DoNotOptimize(SampleHeight(x, z, settings));
        x += 1.9375f;
        if (x > 768.0f) {
            x = -768.0f;
            z += 1.9375f;
        }
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SampleHeight);

void BM_RandomStreamNext(benchmark::State& state) {
    RandomStream stream{MakeCellKey(1, -12, 3)};
    for (auto _ : state) benchmark::DoNotOptimize(stream.Next());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RandomStreamNext);

void BM_RandomStreamNextFloat(benchmark::State& state) {
    RandomStream stream{MakeCellKey(1, -12, 3)};
    for (auto _ : state) benchmark::DoNotOptimize(stream.NextFloat(0.8f, 4.0f));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RandomStreamNextFloat);

// The name-based Guid alone, over a text like the generator's.
void BM_GuidFromProceduralName(benchmark::State& state) {
    const std::string name = "brelk-procedural-world:1:-12:3:17";
    for (auto _ : state) benchmark::DoNotOptimize(Brelk::Core::Guid::FromName(name));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_GuidFromProceduralName);

// The text and the Guid together, as the generator asks for them per entity.
void BM_MakeProceduralGuid(benchmark::State& state) {
    std::uint32_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(MakeProceduralGuid(1, -12, 3, index));
        index = (index + 1) & 63u;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MakeProceduralGuid);

} // namespace
