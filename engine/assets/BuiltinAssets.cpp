#include "engine/assets/BuiltinAssets.h"

#include <array>

namespace Brelk::Assets {
namespace {

using Slots = BuiltinAssetHandles;

constexpr std::array<BuiltinAssetDefinition, 15> kBuiltins{{
    {AssetType::Mesh, kBuiltinCube, &Slots::cube},
    {AssetType::Mesh, kBuiltinQuad, &Slots::quad},
    {AssetType::Mesh, kBuiltinPlane, &Slots::plane},
    {AssetType::Mesh, kBuiltinSphere, &Slots::sphere},
    {AssetType::Mesh, kBuiltinMaterialPreviewSphere, &Slots::materialPreviewSphere},
    {AssetType::Mesh, kBuiltinCylinder, &Slots::cylinder},
    {AssetType::Mesh, kBuiltinCone, &Slots::cone},
    {AssetType::Mesh, kBuiltinTorus, &Slots::torus},
    {AssetType::Mesh, kBuiltinDiamond, &Slots::diamond},
    {AssetType::Mesh, kBuiltinCubeLod1, nullptr},
    {AssetType::Mesh, kBuiltinCubeLod2, nullptr},
    {AssetType::Texture, kBuiltinWhite, &Slots::white},
    {AssetType::Texture, kBuiltinBlack, &Slots::black},
    {AssetType::Texture, kBuiltinFlatNormal, &Slots::flatNormal},
    {AssetType::Material, kBuiltinDefaultMaterial, &Slots::defaultMaterial},
}};

} // namespace

std::span<const BuiltinAssetDefinition> BuiltinAssetDefinitions() noexcept { return kBuiltins; }

} // namespace Brelk::Assets
