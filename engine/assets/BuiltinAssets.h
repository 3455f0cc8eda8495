#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/reflection/AssetType.h"

#include <span>
#include <string_view>

namespace Brelk::Assets {

// The handles of the built-in assets that have a getter on the AssetManager. The two LOD
// meshes of the cube are reached through the cube's LOD rows only.
struct BuiltinAssetHandles {
    AssetHandle cube = kNullAssetHandle;
    AssetHandle quad = kNullAssetHandle;
    AssetHandle plane = kNullAssetHandle;
    AssetHandle sphere = kNullAssetHandle;
    AssetHandle materialPreviewSphere = kNullAssetHandle;
    AssetHandle cylinder = kNullAssetHandle;
    AssetHandle cone = kNullAssetHandle;
    AssetHandle torus = kNullAssetHandle;
    AssetHandle diamond = kNullAssetHandle;
    AssetHandle defaultMaterial = kNullAssetHandle;
    AssetHandle white = kNullAssetHandle;
    AssetHandle black = kNullAssetHandle;
    AssetHandle flatNormal = kNullAssetHandle;
};

// One asset that exists in no file. `slot` names its getter's handle, null for none.
struct BuiltinAssetDefinition {
    AssetType type;
    std::string_view name;
    AssetHandle BuiltinAssetHandles::*slot;
};

inline constexpr std::string_view kBuiltinCube = "Builtin/Cube";
inline constexpr std::string_view kBuiltinQuad = "Builtin/Quad";
inline constexpr std::string_view kBuiltinPlane = "Builtin/Plane";
inline constexpr std::string_view kBuiltinSphere = "Builtin/Sphere";
inline constexpr std::string_view kBuiltinMaterialPreviewSphere = "Builtin/MaterialPreviewSphere";
inline constexpr std::string_view kBuiltinCylinder = "Builtin/Cylinder";
inline constexpr std::string_view kBuiltinCone = "Builtin/Cone";
inline constexpr std::string_view kBuiltinTorus = "Builtin/Torus";
inline constexpr std::string_view kBuiltinDiamond = "Builtin/Diamond";
inline constexpr std::string_view kBuiltinCubeLod1 = "Builtin/Cube_LOD1";
inline constexpr std::string_view kBuiltinCubeLod2 = "Builtin/Cube_LOD2";
inline constexpr std::string_view kBuiltinWhite = "Builtin/White";
inline constexpr std::string_view kBuiltinBlack = "Builtin/Black";
inline constexpr std::string_view kBuiltinFlatNormal = "Builtin/FlatNormal";
inline constexpr std::string_view kBuiltinDefaultMaterial = "Builtin/DefaultMaterial";

// The fifteen built-ins in the order of their registration: the meshes, the textures, and
// the default material last, which refers to the textures.
std::span<const BuiltinAssetDefinition> BuiltinAssetDefinitions() noexcept;

} // namespace Brelk::Assets
