#include "engine/scene/components/ClothRecords.h"

#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/MultipartRecords.h"

#include <span>
#include <string_view>

namespace Brelk::Physics {
namespace {

namespace Multipart = Scene::Multipart;

constexpr Multipart::Messages kMessages{
    "Cloth exceeds its total pin-weight limit.",
    "Cloth exceeds its total encoded byte limit.",
    "Truncated cloth record.",
    "Cloth chunks require a pin-weight count first.",
    "Cloth pin-weight chunk is empty, out of order, overlapping, or exceeds its declared count.",
    "Cloth pin weights are missing or incomplete.",
};

} // namespace

void WriteClothRecords(const ClothComponent& cloth, std::vector<Reflection::SchemaRecord>& out,
                       const Reflection::SchemaCodecContext& codec) {
    Multipart::CheckValueLimit(cloth.pinWeights.size(), 0, kMessages);

    Reflection::ReflectionRegistry& registry = Reflection::ReflectionRegistry::Instance();
    Multipart::RecordEmitter emitter(out, kMessages);
    emitter.Emit(Reflection::EncodeObject(Reflection::MakeConstView(cloth), registry, codec));

    ClothPinWeightCount count;
    count.count = cloth.pinWeights.size();
    emitter.Emit(Reflection::EncodeObject(Reflection::MakeConstView(count), registry, codec));

    ClothPinWeightChunk chunk;
    Multipart::ForEachChunk(cloth.pinWeights, [&](std::uint64_t offset, std::span<const float> part) {
        chunk.offset = offset;
        chunk.values.assign(part.begin(), part.end());
        emitter.Emit(Reflection::EncodeObject(Reflection::MakeConstView(chunk), registry, codec));
    });
}

void ReadClothRecord(ClothComponent& cloth, ClothRecordParts& parts, const Reflection::SchemaRecord& record,
                     std::uint64_t sourceBytes, const Reflection::SchemaCodecContext& codec) {
    Multipart::ChargeSourceBytes(parts.encodedBytes, sourceBytes, kMessages);

    Reflection::ReflectionRegistry& registry = Reflection::ReflectionRegistry::Instance();
    const std::string_view name = record.name;
    if (name == kClothMainRecord) {
        Reflection::DecodeObject(record, Reflection::MakeView(cloth), registry, codec);
        return;
    }
    if (name == kClothCountRecord) {
        parts.pinWeightCount = 0;
        parts.hasCount = true;
        ClothPinWeightCount count;
        Reflection::DecodeObject(record, Reflection::MakeView(count), registry, codec);
        parts.pinWeightCount = count.count;
        Multipart::CheckValueLimit(parts.pinWeightCount, 0, kMessages);
        return;
    }
    if (!parts.hasCount) {
        Multipart::Fail(kMessages.countsFirst);
    }
    ClothPinWeightChunk chunk;
    Reflection::DecodeObject(record, Reflection::MakeView(chunk), registry, codec);
    Multipart::CheckValueLimit(parts.pinWeightCount, 0, kMessages);
    Multipart::AppendChunk(cloth.pinWeights, parts.pinWeightCount, chunk.offset, chunk.values, kMessages);
}

void FinishClothRecords(const ClothComponent& cloth, const ClothRecordParts& parts) {
    if (!parts.hasCount || cloth.pinWeights.size() != parts.pinWeightCount) {
        Multipart::Fail(kMessages.incomplete);
    }
}

} // namespace Brelk::Physics
