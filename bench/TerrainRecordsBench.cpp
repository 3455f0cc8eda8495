// Save and load of one 129 by 129 terrain through its record series: the records alone,
// and the whole way through the record text that scene and cell files hold.

#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/components/TerrainComponent.h"
#include "engine/scene/components/TerrainRecords.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Brelk;

constexpr std::uint32_t kResolution = 129;

Scene::TerrainComponent MakeTerrain() {
    Scene::TerrainComponent terrain;
    terrain.resolutionX = kResolution;
    terrain.resolutionZ = kResolution;
    terrain.layers.resize(1);
    terrain.layers[0].name = "Ground";
    const std::size_t count = std::size_t{kResolution} * kResolution;
    terrain.heights.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const float x = static_cast<float>(i % kResolution);
        const float z = static_cast<float>(i / kResolution);
        terrain.heights[i] = 0.5f + 0.25f * std::sin(x * 0.173f) * std::cos(z * 0.091f);
    }
    terrain.layerWeights.assign(count, 1.0f);
    return terrain;
}

const Reflection::SchemaCodecContext& Codec() {
    static const Reflection::SchemaCodecContext codec;
    return codec;
}

std::string ToText(const std::vector<Reflection::SchemaRecord>& records) {
    std::string text;
    for (const Reflection::SchemaRecord& record : records) {
        Reflection::AppendSchemaRecord(text, record);
    }
    return text;
}

void BM_WriteTerrainRecords(benchmark::State& state) {
    Scene::InstallComponents();
    const Scene::TerrainComponent terrain = MakeTerrain();
    std::vector<Reflection::SchemaRecord> records;
    for (auto _ : state) {
        records.clear();
        Scene::WriteTerrainRecords(terrain, records, Codec());
        benchmark::DoNotOptimize(records.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(terrain.heights.size() * 2));
}
BENCHMARK(BM_WriteTerrainRecords)->Unit(benchmark::kMillisecond);

void BM_ReadTerrainRecords(benchmark::State& state) {
    Scene::InstallComponents();
    const Scene::TerrainComponent terrain = MakeTerrain();
    std::vector<Reflection::SchemaRecord> records;
    Scene::WriteTerrainRecords(terrain, records, Codec());
    std::vector<std::uint64_t> sizes;
    for (const Reflection::SchemaRecord& record : records) {
        sizes.push_back(Reflection::FormatSchemaRecord(record).size());
    }
    for (auto _ : state) {
        Scene::TerrainComponent loaded;
        Scene::TerrainRecordParts parts;
        for (std::size_t i = 0; i < records.size(); ++i) {
            Scene::ReadTerrainRecord(loaded, parts, records[i], sizes[i], Codec());
        }
        Scene::FinishTerrainRecords(loaded, parts);
        benchmark::DoNotOptimize(loaded.heights.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(terrain.heights.size() * 2));
}
BENCHMARK(BM_ReadTerrainRecords)->Unit(benchmark::kMillisecond);

void BM_SaveTerrainText(benchmark::State& state) {
    Scene::InstallComponents();
    const Scene::TerrainComponent terrain = MakeTerrain();
    std::vector<Reflection::SchemaRecord> records;
    std::size_t bytes = 0;
    for (auto _ : state) {
        records.clear();
        Scene::WriteTerrainRecords(terrain, records, Codec());
        const std::string text = ToText(records);
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
    state.counters["textBytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_SaveTerrainText)->Unit(benchmark::kMillisecond);

void BM_LoadTerrainText(benchmark::State& state) {
    Scene::InstallComponents();
    std::vector<Reflection::SchemaRecord> written;
    Scene::WriteTerrainRecords(MakeTerrain(), written, Codec());
    const std::string text = ToText(written);
    constexpr std::string_view kKeyword = "component_schema";
    for (auto _ : state) {
        Scene::TerrainComponent loaded;
        Scene::TerrainRecordParts parts;
        Reflection::SchemaLineCursor lines(text);
        std::string_view header;
        while (true) {
            const std::size_t start = lines.Offset();
            if (!lines.NextLine(header)) {
                break;
            }
            const Reflection::SchemaRecord record = Reflection::ReadSchemaRecord(header.substr(kKeyword.size()), lines);
            Scene::ReadTerrainRecord(loaded, parts, record, lines.Offset() - start, Codec());
        }
        Scene::FinishTerrainRecords(loaded, parts);
        benchmark::DoNotOptimize(loaded.heights.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_LoadTerrainText)->Unit(benchmark::kMillisecond);

} // namespace
