#pragma once

#include "engine/assets/AssetHandle.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {

// Pin types; their words are also what material files store.
enum MaterialPinType : std::uint32_t {
    kPinBool = 0,
    kPinInt = 1,
    kPinFloat = 2,
    kPinVec2 = 3,
    kPinVec3 = 4,
    kPinVec4 = 5,
    kPinColor = 6,
    kPinTexture2D = 7,
    kPinSampler = 8,
    kPinMatrix4 = 9,
};

inline constexpr std::uint32_t kMaterialPinTypeCount = 10;

enum MaterialPinDirection : std::uint32_t {
    kPinInput = 0,
    kPinOutput = 1,
};

enum MaterialDomain : std::uint32_t {
    kDomainSurface = 0,
    kDomainFunction = 1,
    kDomainPostProcess = 2,
};

struct MaterialGraphPin {
    std::uint64_t id = 0;
    std::uint32_t direction = kPinInput;
    std::uint32_t type = kPinFloat;
    std::string name;
    bool optional = false;
    bool flagB = false; // carried through files unchanged

    bool operator==(const MaterialGraphPin&) const = default;
};

struct MaterialGraphNode {
    std::uint64_t id = 0;
    std::uint32_t type = 6; // a row of the node catalogue; ConstantFloat
    std::string title;
    float x = 0.0f;
    float y = 0.0f;
    std::vector<MaterialGraphPin> inputs;
    std::vector<MaterialGraphPin> outputs;
    std::unordered_map<std::string, std::string> properties;

    bool operator==(const MaterialGraphNode&) const = default;
};

struct MaterialGraphLink {
    std::uint64_t id = 0;
    std::uint64_t fromPin = 0;
    std::uint64_t toPin = 0;

    bool operator==(const MaterialGraphLink&) const = default;
};

struct MaterialGraph {
    std::uint32_t domain = kDomainSurface;
    // One counter for the ids of nodes, pins and links.
    std::uint64_t nextId = 1;
    std::vector<MaterialGraphNode> nodes;
    std::vector<MaterialGraphLink> links;
    // Rises by one with each load and each edit.
    std::uint64_t revision = 0;
    // The compiled form is out of date.
    bool dirty = false;

    bool operator==(const MaterialGraph&) const = default;
};

struct MaterialParameterOverride {
    bool enabled = false;
    std::array<float, 4> value{};
    AssetHandle texture = kNullAssetHandle;

    bool operator==(const MaterialParameterOverride&) const = default;
};

struct MaterialAsset {
    AssetHandle handle = kNullAssetHandle;
    std::array<float, 4> baseColor{1.0f, 1.0f, 1.0f, 1.0f};
    std::array<float, 3> emissive{0.0f, 0.0f, 0.0f};
    float emissiveIntensity = 1.0f;
    float metallic = 0.0f;
    float roughness = 0.9f;
    float aoStrength = 1.0f;
    float normalScale = 1.0f;
    float heightScale = 0.0f;
    std::array<float, 2> uvScale{1.0f, 1.0f};
    float alphaCutoff = 0.5f;
    AssetHandle albedoTexture = kNullAssetHandle;
    AssetHandle normalTexture = kNullAssetHandle;
    AssetHandle metallicTexture = kNullAssetHandle;
    AssetHandle roughnessTexture = kNullAssetHandle;
    AssetHandle aoTexture = kNullAssetHandle;
    AssetHandle emissiveTexture = kNullAssetHandle;
    AssetHandle heightTexture = kNullAssetHandle;
    bool opaque = true;
    bool alphaMasked = false;
    bool doubleSided = false;
    std::uint32_t shadingModel = 0; // 0 Lit, 1 Unlit
    std::uint32_t blendMode = 0;    // 0 to 4
    std::uint32_t cullMode = 0;     // 0 Back, 1 None
    std::uint32_t depthMode = 0;    // 0 TestAndWrite, 1 TestOnly, 2 Always
    bool isInstance = false;
    AssetHandle parentMaterial = kNullAssetHandle;
    MaterialGraph graph;
    std::unordered_map<std::string, MaterialParameterOverride> overrides;

    bool operator==(const MaterialAsset&) const = default;
};

// The seven texture slots in file order, with their keys.
struct MaterialTextureSlot {
    const char* key;
    AssetHandle MaterialAsset::*field;
};

inline constexpr std::array<MaterialTextureSlot, 7> kMaterialTextureSlots{{
    {"albedo_texture", &MaterialAsset::albedoTexture},
    {"normal_texture", &MaterialAsset::normalTexture},
    {"metallic_texture", &MaterialAsset::metallicTexture},
    {"roughness_texture", &MaterialAsset::roughnessTexture},
    {"ao_texture", &MaterialAsset::aoTexture},
    {"emissive_texture", &MaterialAsset::emissiveTexture},
    {"height_texture", &MaterialAsset::heightTexture},
}};

// "Bool" ... "Matrix4"; "Float" for a number outside the table.
const char* MaterialPinTypeWord(std::uint32_t type) noexcept;
// False for a word outside the table.
bool MaterialPinTypeFromWord(std::string_view word, std::uint32_t* type) noexcept;
// 1 to 4; 0 for the texture, sampler and matrix types.
std::uint32_t MaterialPinComponents(std::uint32_t type) noexcept;

} // namespace Brelk::Assets
