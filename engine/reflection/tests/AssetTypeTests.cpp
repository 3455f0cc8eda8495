#include "engine/reflection/AssetType.h"
#include "engine/reflection/ReflectionRegistry.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <string>

namespace Brelk::Assets {
namespace {

// The schema table in install order, then every number with its name and schema row.
TEST(AssetType, TheSchemaTableAndTheNamesOfEveryNumberMatchTheGoldenFileAndMapBack) {
    std::string text;
    for (const SchemaAssetType& row : SchemaAssetTypes()) {
        text += std::string(row.name) + "=" + std::to_string(static_cast<std::uint32_t>(row.type)) + "\n";
    }
    for (std::uint32_t id = 0; id <= kAssetTypeCount; ++id) {
        const AssetType type = static_cast<AssetType>(id);
        const SchemaAssetType* row = FindSchemaAssetType(id);
        text += std::to_string(id) + " " + std::string(AssetTypeName(type)) +
                (row != nullptr ? " schema " + std::string(row->name) : "") + "\n";
        EXPECT_EQ(AssetTypeFromName(AssetTypeName(type)), AssetTypeFromNativeId(id)) << id;
    }
    Testing::ExpectGoldenText(std::string(BRELK_TEST_DATA_DIR) + "/AssetTypes.txt", text);
    EXPECT_EQ(AssetTypeFromName("mesh"), AssetType::Unknown);
    EXPECT_EQ(AssetTypeOf(AssetTypeInfo{"Texture", 4}), AssetType::Texture);
    Reflection::ReflectionRegistry registry;
    RegisterSchemaAssetTypes(registry);
    RegisterSchemaAssetTypes(registry);
    EXPECT_EQ(registry.FindAssetType("World")->nativeId, 20u);
    EXPECT_EQ(registry.FindAssetType("Audio"), nullptr);
}

} // namespace
} // namespace Brelk::Assets
