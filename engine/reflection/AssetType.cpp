#include "engine/reflection/AssetType.h"

#include "engine/reflection/ReflectionRegistry.h"

#include <array>

namespace Brelk::Assets {
namespace {

constexpr std::array<SchemaAssetType, 17> kSchemaAssetTypes{{
    {"Mesh", AssetType::Mesh},
    {"Scene", AssetType::Scene},
    {"Material", AssetType::Material},
    {"Texture", AssetType::Texture},
    {"AudioClip", AssetType::Audio},
    {"UiDocument", AssetType::Ui},
    {"Skeleton", AssetType::Skeleton},
    {"Rig", AssetType::Rig},
    {"AnimationClip", AssetType::Clip},
    {"AnimatorController", AssetType::Controller},
    {"Prefab", AssetType::Prefab},
    {"BrelkNavMesh", AssetType::NavMesh},
    {"BehaviorTree", AssetType::BehaviorTree},
    {"VectorField", AssetType::VectorField},
    {"VfxEffect", AssetType::Vfx},
    {"RigDefinition", AssetType::RigDefinition},
    {"World", AssetType::World},
}};

constexpr std::array<std::string_view, kAssetTypeCount> kNames{
    "Unknown",        "Mesh",  "Scene",        "Material",   "Texture",       "AudioClip",
    "UiDocument",     "Skeleton", "Rig",       "AnimationClip", "AnimatorController", "Prefab",
    "BrelkNavMesh",   "BehaviorTree", "Image", "Procedural", "VectorField",   "VfxEffect",
    "RigDefinition",  "InputMap", "World",
};

} // namespace

std::span<const SchemaAssetType> SchemaAssetTypes() noexcept { return kSchemaAssetTypes; }

std::string_view AssetTypeName(AssetType type) noexcept {
    const auto index = static_cast<std::uint32_t>(type);
    return index < kAssetTypeCount ? kNames[index] : kNames[0];
}

AssetType AssetTypeFromName(std::string_view name) noexcept {
    for (std::uint32_t index = 0; index < kAssetTypeCount; ++index) {
        if (kNames[index] == name) {
            return static_cast<AssetType>(index);
        }
    }
    return AssetType::Unknown;
}

const SchemaAssetType* FindSchemaAssetType(std::uint32_t nativeId) noexcept {
    for (const SchemaAssetType& row : kSchemaAssetTypes) {
        if (static_cast<std::uint32_t>(row.type) == nativeId) {
            return &row;
        }
    }
    return nullptr;
}

void RegisterSchemaAssetTypes(Reflection::ReflectionRegistry& registry) {
    for (const SchemaAssetType& row : kSchemaAssetTypes) {
        registry.RegisterAssetType(std::string(row.name), static_cast<std::uint32_t>(row.type));
    }
}

} // namespace Brelk::Assets
