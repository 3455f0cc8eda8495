#include "engine/reflection/AssetType.h"
#include "engine/reflection/ReflectionRegistry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Brelk::Assets {
namespace {

TEST(AssetType, TheSchemaTableListsSeventeenTypesInInstallOrder) {
    std::vector<std::string> rows;
    for (const SchemaAssetType& row : SchemaAssetTypes()) {
        rows.push_back(std::string(row.name) + "=" + std::to_string(static_cast<std::uint32_t>(row.type)));
    }
    EXPECT_EQ(rows, (std::vector<std::string>{
                        "Mesh=1", "Scene=2", "Material=3", "Texture=4", "AudioClip=5", "UiDocument=6",
                        "Skeleton=7", "Rig=8", "AnimationClip=9", "AnimatorController=10", "Prefab=11",
                        "BrelkNavMesh=12", "BehaviorTree=13", "VectorField=16", "VfxEffect=17",
                        "RigDefinition=18", "World=20"}));
}

TEST(AssetType, NamesAndNumbersMapBothWaysAndOnlySchemaRowsHaveAnEntry) {
    EXPECT_EQ(AssetTypeName(AssetType::Audio), "AudioClip");
    EXPECT_EQ(AssetTypeName(static_cast<AssetType>(21)), "Unknown");
    for (std::uint32_t id = 0; id < kAssetTypeCount; ++id) {
        EXPECT_EQ(AssetTypeFromName(AssetTypeName(static_cast<AssetType>(id))), static_cast<AssetType>(id)) << id;
    }
    EXPECT_EQ(AssetTypeFromName("mesh"), AssetType::Unknown);
    EXPECT_EQ(FindSchemaAssetType(17)->name, "VfxEffect");
    EXPECT_EQ(FindSchemaAssetType(14), nullptr);
    EXPECT_EQ(FindSchemaAssetType(0), nullptr);
    EXPECT_EQ(AssetTypeOf(AssetTypeInfo{"Texture", 4}), AssetType::Texture);
    EXPECT_EQ(AssetTypeFromNativeId(99), AssetType::Unknown);
    Reflection::ReflectionRegistry registry;
    RegisterSchemaAssetTypes(registry);
    RegisterSchemaAssetTypes(registry);
    EXPECT_EQ(registry.FindAssetType("World")->nativeId, 20u);
    EXPECT_EQ(registry.FindAssetType("Audio"), nullptr);
}

} // namespace
} // namespace Brelk::Assets
