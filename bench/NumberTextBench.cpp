#include "engine/core/NumberText.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <random>
#include <vector>

namespace {

// Heights of a terrain: normalised values in [0, 1], the bulk of what cell files hold.
std::vector<float> Samples() {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> distribution(0.0f, 1.0f);
    std::vector<float> values(4096);
    for (float& value : values) value = distribution(random);
    return values;
}

void BM_FormatFloat9(benchmark::State& state) {
    const std::vector<float> values = Samples();
    char buffer[Brelk::Core::kMaxNumberChars];
    for (auto _ : state) {
        for (const float value : values) benchmark::DoNotOptimize(Brelk::Core::FormatFloat9(buffer, value));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
}
BENCHMARK(BM_FormatFloat9);

void BM_LibraryToChars9(benchmark::State& state) {
    const std::vector<float> values = Samples();
    char buffer[Brelk::Core::kMaxNumberChars];
    for (auto _ : state) {
        for (const float value : values) {
            benchmark::DoNotOptimize(
                std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 9).ptr);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
}
BENCHMARK(BM_LibraryToChars9);

} // namespace
