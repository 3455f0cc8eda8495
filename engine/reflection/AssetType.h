#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Brelk::Reflection {
class ReflectionRegistry;
}

namespace Brelk::Assets {

// The kinds of asset. The numbers are stored in sidecars, manifests and cooked files and
// double as the native ids of the schema's asset types, so they can never change.
// 14, 15 and 19 exist as files but are never the target of a reflected asset property.
enum class AssetType : std::uint32_t {
    Unknown = 0,
    Mesh = 1,
    Scene = 2,
    Material = 3,
    Texture = 4,
    Audio = 5,
    Ui = 6,
    Skeleton = 7,
    Rig = 8,
    Clip = 9,
    Controller = 10,
    Prefab = 11,
    NavMesh = 12,
    BehaviorTree = 13,
    Image = 14,
    Procedural = 15,
    VectorField = 16,
    Vfx = 17,
    RigDefinition = 18,
    InputMap = 19,
    World = 20,
};

inline constexpr std::uint32_t kAssetTypeCount = 21;

// An asset type as the reflection table knows it: the constraint that an asset property
// names in its attributes, and what the codec hands to the host when it turns an asset
// id into text and back.
struct AssetTypeInfo {
    std::string name;
    std::uint32_t nativeId = 0;
};

// One row of the schema's asset-type table.
struct SchemaAssetType {
    std::string_view name;
    AssetType type;
};

// The seventeen asset types that reflected properties may name, in the order in which
// the install registers them.
std::span<const SchemaAssetType> SchemaAssetTypes() noexcept;

// The schema name of a type ("Mesh", "AudioClip", "World"). Types outside the schema
// table have their enumerator's name ("Image"); 0 and numbers past the table give
// "Unknown".
std::string_view AssetTypeName(AssetType type) noexcept;

// The reverse of AssetTypeName over the values 0 to 20; a name that no type has gives
// AssetType::Unknown. Exact and case-sensitive.
AssetType AssetTypeFromName(std::string_view name) noexcept;

// The schema row of a native id, or null when the id isn't one of the seventeen.
const SchemaAssetType* FindSchemaAssetType(std::uint32_t nativeId) noexcept;

inline constexpr AssetType AssetTypeFromNativeId(std::uint32_t nativeId) noexcept {
    return nativeId < kAssetTypeCount ? static_cast<AssetType>(nativeId) : AssetType::Unknown;
}

inline AssetType AssetTypeOf(const AssetTypeInfo& info) noexcept { return AssetTypeFromNativeId(info.nativeId); }

// Registers every row of SchemaAssetTypes() with the reflection table, in order.
// Registering them again changes nothing.
void RegisterSchemaAssetTypes(Reflection::ReflectionRegistry& registry);

} // namespace Brelk::Assets
