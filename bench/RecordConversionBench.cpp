// Converting a 65 x 65 height field between live objects and SchemaRecords through the
// reflection table, the typed half of what saving and loading a terrain costs. A record
// holds at most 1024 array elements, so the 4,225 heights travel as the terrain's chunk
// series: four chunks of 1024 values and one of 129, each an object of its own.

#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using namespace Brelk::Reflection;

constexpr std::size_t kResolution = 65;
constexpr std::size_t kValues = kResolution * kResolution;
constexpr std::size_t kChunk = 1024;

enum class SampleKind : std::uint8_t { Heights, LayerWeights };

struct SampleChunk {
    SampleKind kind = SampleKind::Heights;
    std::uint64_t offset = 0;
    std::vector<float> values;
};

ReflectionRegistry& BenchRegistry() {
    static ReflectionRegistry registry;
    static const bool installed = [] {
        registry.RegisterEnum<SampleKind>("SampleKind", {EnumValueOf(SampleKind::Heights, "Heights"),
                                                         EnumValueOf(SampleKind::LayerWeights, "LayerWeights")});
        ReflectedTypeBuilder<SampleChunk>("SampleChunk", "Sample Chunk", "World", registry)
            .Field("kind", &SampleChunk::kind, FieldAttr().Enum("SampleKind"))
            .Field("offset", &SampleChunk::offset)
            .Field("values", &SampleChunk::values);
        return true;
    }();
    (void)installed;
    return registry;
}

std::vector<float> MakeHeights() {
    std::vector<float> heights(kValues);
    for (std::size_t i = 0; i < kValues; ++i) {
        const float x = static_cast<float>(i % kResolution);
        const float z = static_cast<float>(i / kResolution);
        heights[i] = 12.5f * std::sin(x * 0.173f) * std::cos(z * 0.091f) + 0.37f * x - 3.1f;
    }
    return heights;
}

std::vector<SampleChunk> SplitIntoChunks(const std::vector<float>& heights) {
    std::vector<SampleChunk> chunks;
    for (std::size_t offset = 0; offset < heights.size(); offset += kChunk) {
        const std::size_t end = std::min(heights.size(), offset + kChunk);
        chunks.push_back(SampleChunk{SampleKind::Heights, offset,
                                     std::vector<float>(heights.begin() + static_cast<std::ptrdiff_t>(offset),
                                                        heights.begin() + static_cast<std::ptrdiff_t>(end))});
    }
    return chunks;
}

std::vector<SchemaRecord> Encode(const std::vector<SampleChunk>& chunks, ReflectionRegistry& registry,
                                 const SchemaCodecContext& context) {
    std::vector<SchemaRecord> records;
    records.reserve(chunks.size());
    for (const SampleChunk& chunk : chunks) {
        records.push_back(EncodeObject(MakeConstView(chunk), registry, context));
    }
    return records;
}

void DecodeInto(const std::vector<SchemaRecord>& records, std::vector<float>& heights, SampleChunk& scratch,
                ReflectionRegistry& registry, const SchemaCodecContext& context) {
    heights.clear();
    for (const SchemaRecord& record : records) {
        DecodeObject(record, MakeView(scratch), registry, context);
        heights.insert(heights.end(), scratch.values.begin(), scratch.values.end());
    }
}

void BM_EncodeHeightField(benchmark::State& state) {
    ReflectionRegistry& registry = BenchRegistry();
    const SchemaCodecContext context;
    const std::vector<SampleChunk> chunks = SplitIntoChunks(MakeHeights());
    for (auto _ : state) {
        std::vector<SchemaRecord> records = Encode(chunks, registry, context);
        benchmark::DoNotOptimize(records.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kValues));
}
BENCHMARK(BM_EncodeHeightField);

void BM_DecodeHeightField(benchmark::State& state) {
    ReflectionRegistry& registry = BenchRegistry();
    const SchemaCodecContext context;
    const std::vector<SchemaRecord> records = Encode(SplitIntoChunks(MakeHeights()), registry, context);
    std::vector<float> heights;
    heights.reserve(kValues);
    SampleChunk scratch;
    for (auto _ : state) {
        DecodeInto(records, heights, scratch, registry, context);
        benchmark::DoNotOptimize(heights.data());
    }
    if (heights != MakeHeights()) {
        state.SkipWithError("The heights did not survive the round trip.");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kValues));
}
BENCHMARK(BM_DecodeHeightField);

void BM_RoundTripHeightField(benchmark::State& state) {
    ReflectionRegistry& registry = BenchRegistry();
    const SchemaCodecContext context;
    const std::vector<float> original = MakeHeights();
    std::vector<float> heights;
    heights.reserve(kValues);
    SampleChunk scratch;
    for (auto _ : state) {
        const std::vector<SchemaRecord> records = Encode(SplitIntoChunks(original), registry, context);
        DecodeInto(records, heights, scratch, registry, context);
        benchmark::DoNotOptimize(heights.data());
    }
    if (heights != original) {
        state.SkipWithError("The heights did not survive the round trip.");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kValues));
}
BENCHMARK(BM_RoundTripHeightField);

} // namespace
