#include "engine/assets/cooked/CookedMaterial.h"

#include "engine/assets/ByteStream.h"

#include <stdexcept>

namespace Brelk::Assets {
namespace {

constexpr std::uint64_t kMaxSourceTextBytes = 67108864;
constexpr std::uint64_t kMaxNameBytes = 4096;
constexpr std::uint64_t kMaxParameters = 4096;
constexpr std::uint64_t kParameterMinimumBytes = 28;
constexpr std::uint64_t kMaxGeneratedTextures = 64;
constexpr std::uint64_t kGeneratedTextureMinimumBytes = 8;

template <std::size_t N>
void WriteFloats(ByteWriter& writer, const std::array<float, N>& values) {
    for (const float value : values) writer.WriteF32(value);
}

template <std::size_t N>
void ReadFloats(ByteReader& reader, std::array<float, N>& values) {
    for (float& value : values) value = reader.ReadF32();
}

void WriteBlob(ByteWriter& writer, const std::vector<std::uint8_t>& blob) {
    writer.WriteU32(static_cast<std::uint32_t>(blob.size()));
    writer.WriteBytes(blob);
}

std::vector<std::uint8_t> ReadSpirv(ByteReader& reader) {
    const std::span<const std::uint8_t> blob = reader.ReadSizedBytes();
    if (blob.size() % 4 != 0) throw std::runtime_error("SPIR-V blob is not a whole number of words.");
    return {blob.begin(), blob.end()};
}

CookedMaterial Decode(ByteReader& reader) {
    CookedMaterial material;
    material.sourceText = reader.ReadString(kMaxSourceTextBytes);
    material.shaderName = reader.ReadString(kMaxNameBytes);
    material.flags = reader.ReadU32();
    if (material.flags > 3) throw std::runtime_error("unknown material flags.");
    material.vertexSpirv = ReadSpirv(reader);
    material.fragmentSpirv = ReadSpirv(reader);
    material.shadowFragmentSpirv = ReadSpirv(reader);
    const std::uint32_t parameterCount = reader.ReadCount(kParameterMinimumBytes, kMaxParameters);
    material.parameters.resize(parameterCount);
    for (CookedMaterialParameter& parameter : material.parameters) {
        parameter.name = reader.ReadString(kMaxNameBytes);
        parameter.type = reader.ReadU32();
        parameter.slot = reader.ReadU32();
        ReadFloats(reader, parameter.value);
        parameter.textureReference = reader.ReadString(kMaxNameBytes);
    }
    material.kind = reader.ReadU32();
    material.domain = reader.ReadU32();
    if (material.domain > 4 || material.kind > 2) throw std::runtime_error("unknown material kind or domain.");
    material.variant = reader.ReadU32();
    material.stampA = reader.ReadU64();
    material.stampB = reader.ReadU64();
    material.surfaceFlags = reader.ReadU32();
    if (material.surfaceFlags > 1023) throw std::runtime_error("unknown material surface flags.");
    material.shadingModel = reader.ReadU32();
    material.blendMode = reader.ReadU32();
    material.cullMode = reader.ReadU32();
    material.depthMode = reader.ReadU32();
    ReadFloats(reader, material.baseColor);
    ReadFloats(reader, material.emissive);
    ReadFloats(reader, material.uvScale);
    for (float* value : {&material.emissiveIntensity, &material.metallic, &material.roughness, &material.aoStrength,
                         &material.normalScale, &material.heightScale, &material.alphaCutoff}) {
        *value = reader.ReadF32();
    }
    for (std::string& reference : material.textureReferences) reference = reader.ReadString(kMaxNameBytes);
    const std::uint32_t generatedCount = reader.ReadCount(kGeneratedTextureMinimumBytes, kMaxGeneratedTextures);
    material.generatedTextures.resize(generatedCount);
    for (CookedGeneratedTexture& texture : material.generatedTextures) {
        texture.reference = reader.ReadString(kMaxNameBytes);
        texture.binding = reader.ReadU32();
    }
    if (!reader.AtEnd()) throw std::runtime_error("trailing data.");
    return material;
}

} // namespace

std::vector<std::uint8_t> EncodeCookedMaterial(const CookedMaterial& material) {
    ByteWriter writer;
    writer.WriteString(material.sourceText);
    writer.WriteString(material.shaderName);
    writer.WriteU32(material.flags);
    WriteBlob(writer, material.vertexSpirv);
    WriteBlob(writer, material.fragmentSpirv);
    WriteBlob(writer, material.shadowFragmentSpirv);
    writer.WriteU32(static_cast<std::uint32_t>(material.parameters.size()));
    for (const CookedMaterialParameter& parameter : material.parameters) {
        writer.WriteString(parameter.name);
        writer.WriteU32(parameter.type);
        writer.WriteU32(parameter.slot);
        WriteFloats(writer, parameter.value);
        writer.WriteString(parameter.textureReference);
    }
    writer.WriteU32(material.kind);
    writer.WriteU32(material.domain);
    writer.WriteU32(material.variant);
    writer.WriteU64(material.stampA);
    writer.WriteU64(material.stampB);
    writer.WriteU32(material.surfaceFlags);
    writer.WriteU32(material.shadingModel);
    writer.WriteU32(material.blendMode);
    writer.WriteU32(material.cullMode);
    writer.WriteU32(material.depthMode);
    WriteFloats(writer, material.baseColor);
    WriteFloats(writer, material.emissive);
    WriteFloats(writer, material.uvScale);
    for (const float value : {material.emissiveIntensity, material.metallic, material.roughness, material.aoStrength,
                              material.normalScale, material.heightScale, material.alphaCutoff}) {
        writer.WriteF32(value);
    }
    for (const std::string& reference : material.textureReferences) writer.WriteString(reference);
    writer.WriteU32(static_cast<std::uint32_t>(material.generatedTextures.size()));
    for (const CookedGeneratedTexture& texture : material.generatedTextures) {
        writer.WriteString(texture.reference);
        writer.WriteU32(texture.binding);
    }
    return writer.TakeBytes();
}

std::optional<CookedMaterial> DecodeCookedMaterial(std::span<const std::uint8_t> payload, std::string_view name,
                                                   std::string* error) {
    try {
        ByteReader reader(payload);
        return Decode(reader);
    } catch (const std::exception& e) {
        if (error) *error = "Invalid cooked material " + std::string(name) + ": " + e.what();
    }
    return std::nullopt;
}

} // namespace Brelk::Assets
