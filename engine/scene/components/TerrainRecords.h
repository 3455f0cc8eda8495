#pragma once

#include "engine/reflection/SchemaRecord.h"
#include "engine/scene/components/ComponentsFwd.h"

#include <cstdint>
#include <vector>

namespace Brelk::Reflection {
struct SchemaCodecContext;
}

// A terrain is saved as a series of records: the main `TerrainComponent` record with the
// reflected fields, one `TerrainSampleCounts` declaring the sizes of `heights` and
// `layerWeights`, then `TerrainSampleChunk` records of up to 1024 values each, all of
// `heights` first, then all of `layerWeights`. On reading, each array must be filled
// exactly, in order and without gaps; the two kinds may interleave.
//
// Every failure throws std::runtime_error with its exact message.
namespace Brelk::Scene {

inline constexpr const char* kTerrainMainRecord = "TerrainComponent";
inline constexpr const char* kTerrainCountsRecord = "TerrainSampleCounts";
inline constexpr const char* kTerrainChunkRecord = "TerrainSampleChunk";

// What one load of a terrain has seen of its series so far.
struct TerrainRecordParts {
    std::uint64_t heightCount = 0;
    std::uint64_t layerWeightCount = 0;
    bool hasCounts = false;
    // Running total of the series' record bytes in their source.
    std::uint64_t encodedBytes = 0;
};

// Appends the whole series of `terrain` to `out`. Throws before appending anything if
// the arrays break the sample limit; a record that breaks the byte budget stops the
// series where it stands.
void WriteTerrainRecords(const TerrainComponent& terrain, std::vector<Reflection::SchemaRecord>& out,
                         const Reflection::SchemaCodecContext& codec);

// Takes one record of the series into `terrain`. `sourceBytes` is what the record took up
// in its source, all ones when the source cannot tell, which is refused.
void ReadTerrainRecord(TerrainComponent& terrain, TerrainRecordParts& parts, const Reflection::SchemaRecord& record,
                       std::uint64_t sourceBytes, const Reflection::SchemaCodecContext& codec);

// The placement rules of one decoded chunk against the declared counts.
void AppendTerrainChunk(TerrainComponent& terrain, const TerrainRecordParts& parts, const TerrainSampleChunk& chunk);

// Once all records of the entity are in: both arrays must be complete.
void FinishTerrainRecords(const TerrainComponent& terrain, const TerrainRecordParts& parts);

} // namespace Brelk::Scene
