#include "engine/scene/components/TerrainRecords.h"

#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/scene/components/MultipartRecords.h"
#include "engine/scene/components/TerrainComponent.h"

#include <span>
#include <string_view>

namespace Brelk::Scene {
namespace {

constexpr Multipart::Messages kMessages{
    "Terrain exceeds its total sample limit.",
    "Terrain exceeds its total encoded byte limit.",
    "Truncated terrain record.",
    "Terrain chunks require sample counts first.",
    "Terrain sample chunk is empty, out of order, overlapping, or exceeds its declared count.",
    "Terrain samples are missing or incomplete.",
};

} // namespace

void WriteTerrainRecords(const TerrainComponent& terrain, std::vector<Reflection::SchemaRecord>& out,
                         const Reflection::SchemaCodecContext& codec) {
    Multipart::CheckValueLimit(terrain.heights.size(), terrain.layerWeights.size(), kMessages);

    Reflection::ReflectionRegistry& registry = Reflection::ReflectionRegistry::Instance();
    Multipart::RecordEmitter emitter(out, kMessages);
    emitter.Emit(Reflection::EncodeObject(Reflection::MakeConstView(terrain), registry, codec));

    TerrainSampleCounts counts;
    counts.heights = terrain.heights.size();
    counts.layerWeights = terrain.layerWeights.size();
    emitter.Emit(Reflection::EncodeObject(Reflection::MakeConstView(counts), registry, codec));

    TerrainSampleChunk chunk;
    const auto emitChunks = [&](TerrainSampleKind kind, std::span<const float> values) {
        chunk.kind = kind;
        Multipart::ForEachChunk(values, [&](std::uint64_t offset, std::span<const float> part) {
            chunk.offset = offset;
            chunk.values.assign(part.begin(), part.end());
            emitter.Emit(Reflection::EncodeObject(Reflection::MakeConstView(chunk), registry, codec));
        });
    };
    emitChunks(TerrainSampleKind::Heights, terrain.heights);
    emitChunks(TerrainSampleKind::LayerWeights, terrain.layerWeights);
}

void ReadTerrainRecord(TerrainComponent& terrain, TerrainRecordParts& parts, const Reflection::SchemaRecord& record,
                       std::uint64_t sourceBytes, const Reflection::SchemaCodecContext& codec) {
    Multipart::ChargeSourceBytes(parts.encodedBytes, sourceBytes, kMessages);

    Reflection::ReflectionRegistry& registry = Reflection::ReflectionRegistry::Instance();
    const std::string_view name = record.name;
    if (name == kTerrainMainRecord) {
        Reflection::DecodeObject(record, Reflection::MakeView(terrain), registry, codec);
        return;
    }
    if (name == kTerrainCountsRecord) {
        parts.heightCount = 0;
        parts.layerWeightCount = 0;
        parts.hasCounts = true;
        TerrainSampleCounts counts;
        Reflection::DecodeObject(record, Reflection::MakeView(counts), registry, codec);
        parts.heightCount = counts.heights;
        parts.layerWeightCount = counts.layerWeights;
        Multipart::CheckValueLimit(parts.heightCount, parts.layerWeightCount, kMessages);
        return;
    }
    if (!parts.hasCounts) {
        Multipart::Fail(kMessages.countsFirst);
    }
    TerrainSampleChunk chunk;
    Reflection::DecodeObject(record, Reflection::MakeView(chunk), registry, codec);
    AppendTerrainChunk(terrain, parts, chunk);
}

void AppendTerrainChunk(TerrainComponent& terrain, const TerrainRecordParts& parts, const TerrainSampleChunk& chunk) {
    Multipart::CheckValueLimit(parts.heightCount, parts.layerWeightCount, kMessages);
    switch (chunk.kind) {
    case TerrainSampleKind::Heights:
        Multipart::AppendChunk(terrain.heights, parts.heightCount, chunk.offset, chunk.values, kMessages);
        return;
    case TerrainSampleKind::LayerWeights:
        Multipart::AppendChunk(terrain.layerWeights, parts.layerWeightCount, chunk.offset, chunk.values, kMessages);
        return;
    }
    Multipart::Fail("Unknown terrain sample kind.");
}

void FinishTerrainRecords(const TerrainComponent& terrain, const TerrainRecordParts& parts) {
    if (!parts.hasCounts || terrain.heights.size() != parts.heightCount ||
        terrain.layerWeights.size() != parts.layerWeightCount) {
        Multipart::Fail(kMessages.incomplete);
    }
}

} // namespace Brelk::Scene
