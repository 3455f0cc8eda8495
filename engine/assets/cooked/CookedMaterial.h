#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

inline constexpr std::uint32_t kCookedMaterialFormatVersion = 2;

struct CookedMaterialParameter {
    std::string name;
    std::uint32_t type = 0;
    std::uint32_t slot = 0;
    std::array<float, 4> value{};
    std::string textureReference; // empty: no texture
};

struct CookedGeneratedTexture {
    std::string reference; // empty: resolves to no asset
    std::uint32_t binding = 0;
};

// The payload of a cooked material: the material's own text travels with its compiled
// shaders, so a package needs no shader compiler. Fields in payload order.
struct CookedMaterial {
    std::string sourceText;
    std::string shaderName;
    std::uint32_t flags = 0; // bit 0 carried into the material; bit 1: draws with these shaders
    std::vector<std::uint8_t> vertexSpirv;
    std::vector<std::uint8_t> fragmentSpirv;
    std::vector<std::uint8_t> shadowFragmentSpirv;
    std::vector<CookedMaterialParameter> parameters;
    std::uint32_t kind = 0; // 0 surface, 1 function, 2 post-process
    std::uint32_t domain = 0;
    std::uint32_t variant = 0;
    std::uint64_t stampA = 0;
    std::uint64_t stampB = 0;
    std::uint32_t surfaceFlags = 0; // bit 0 opaque, 1 alpha masked, 2 double sided, 3..9 compiled flags
    std::uint32_t shadingModel = 0;
    std::uint32_t blendMode = 0;
    std::uint32_t cullMode = 0;
    std::uint32_t depthMode = 0;
    std::array<float, 4> baseColor{};
    std::array<float, 3> emissive{};
    std::array<float, 2> uvScale{};
    float emissiveIntensity = 0.0f;
    float metallic = 0.0f;
    float roughness = 0.0f;
    float aoStrength = 0.0f;
    float normalScale = 0.0f;
    float heightScale = 0.0f;
    float alphaCutoff = 0.0f;
    // albedo, normal, metallic, roughness, ao, emissive, height; empty: no texture
    std::array<std::string, 7> textureReferences;
    std::vector<CookedGeneratedTexture> generatedTextures;
};

// The payload alone; the caller wraps it in a BMAT container.
[[nodiscard]] std::vector<std::uint8_t> EncodeCookedMaterial(const CookedMaterial& material);

// Reads a whole payload or nothing: on failure `error` gets
// "Invalid cooked material <name>: <reason>".
[[nodiscard]] std::optional<CookedMaterial> DecodeCookedMaterial(std::span<const std::uint8_t> payload,
                                                                 std::string_view name, std::string* error);

} // namespace Brelk::Assets
