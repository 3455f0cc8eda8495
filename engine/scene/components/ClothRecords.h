#pragma once

#include "engine/reflection/SchemaRecord.h"
#include "engine/scene/components/ComponentsFwd.h"

#include <cstdint>
#include <vector>

namespace Brelk::Reflection {
struct SchemaCodecContext;
}

// A cloth is saved as a series of records: the main `ClothComponent` record with the
// reflected fields, one `ClothPinWeightCount`, then `ClothPinWeightChunk` records of up to
// 1024 pin weights each, in order. On reading the weights must arrive exactly, in order
// and without gaps.
//
// Every failure throws std::runtime_error with its exact message.
namespace Brelk::Physics {

inline constexpr const char* kClothMainRecord = "ClothComponent";
inline constexpr const char* kClothCountRecord = "ClothPinWeightCount";
inline constexpr const char* kClothChunkRecord = "ClothPinWeightChunk";

struct ClothRecordParts {
    std::uint64_t pinWeightCount = 0;
    bool hasCount = false;
    // Running total of the series' record bytes in their source.
    std::uint64_t encodedBytes = 0;
};

void WriteClothRecords(const ClothComponent& cloth, std::vector<Reflection::SchemaRecord>& out,
                       const Reflection::SchemaCodecContext& codec);

// `sourceBytes` is what the record took up in its source, all ones when the source cannot
// tell, which is refused.
void ReadClothRecord(ClothComponent& cloth, ClothRecordParts& parts, const Reflection::SchemaRecord& record,
                     std::uint64_t sourceBytes, const Reflection::SchemaCodecContext& codec);

void FinishClothRecords(const ClothComponent& cloth, const ClothRecordParts& parts);

} // namespace Brelk::Physics
