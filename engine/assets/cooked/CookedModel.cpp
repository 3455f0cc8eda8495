#include "engine/assets/cooked/CookedModel.h"

#include "engine/assets/ByteStream.h"

#include <stdexcept>

namespace Brelk::Assets {
namespace {

constexpr std::uint64_t kMaxShaders = 65536;
constexpr std::uint64_t kShaderMinimumBytes = 8;
constexpr std::uint64_t kMaxFileNameBytes = 4096;

CookedModel Decode(ByteReader& reader) {
    CookedModel model;
    const std::span<const std::uint8_t> cache = reader.ReadSizedBytes();
    model.cache.assign(cache.begin(), cache.end());
    const std::uint32_t shaderCount = reader.ReadCount(kShaderMinimumBytes, kMaxShaders);
    model.shaders.resize(shaderCount);
    for (CookedShaderFile& shader : model.shaders) {
        shader.fileName = reader.ReadString(kMaxFileNameBytes);
        if (shader.fileName.empty() || shader.fileName.find_first_of("/\\:") != std::string::npos) {
            throw std::runtime_error("invalid shader file name.");
        }
        const std::span<const std::uint8_t> bytes = reader.ReadSizedBytes();
        shader.bytes.assign(bytes.begin(), bytes.end());
    }
    if (!reader.AtEnd()) throw std::runtime_error("trailing data.");
    return model;
}

} // namespace

std::vector<std::uint8_t> EncodeCookedModel(const CookedModel& model) {
    ByteWriter writer;
    writer.WriteU32(static_cast<std::uint32_t>(model.cache.size()));
    writer.WriteBytes(model.cache);
    writer.WriteU32(static_cast<std::uint32_t>(model.shaders.size()));
    for (const CookedShaderFile& shader : model.shaders) {
        writer.WriteString(shader.fileName);
        writer.WriteU32(static_cast<std::uint32_t>(shader.bytes.size()));
        writer.WriteBytes(shader.bytes);
    }
    return writer.TakeBytes();
}

std::optional<CookedModel> DecodeCookedModel(std::span<const std::uint8_t> payload, std::string_view name,
                                             std::string* error) {
    try {
        ByteReader reader(payload);
        return Decode(reader);
    } catch (const std::exception& e) {
        if (error) *error = "Invalid cooked model " + std::string(name) + ": " + e.what();
    }
    return std::nullopt;
}

} // namespace Brelk::Assets
