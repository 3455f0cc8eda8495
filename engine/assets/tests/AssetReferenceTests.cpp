#include "engine/assets/AssetReference.h"

#include "engine/assets/AssetRegistry.h"
#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Core::Guid;

using Testing::WriteText;

class AssetReferenceTest : public ::testing::Test {
protected:
    void SetUp() override {
        WriteText(Content("Art/Rock.png"), "png");
        WriteText(Content("Models/Tree.fbx"), "fbx");
        registry_.SetContentRoot(root_ / "Content", AssetSourceMode::Authoring);
        cube_ = registry_.RegisterBuiltin(AssetType::Mesh, "Builtin/Cube");
        rock_ = registry_.HandleOfPath(Content("Art/Rock.png"));
        me_ = registry_.RegisterSubAsset(AssetType::Mesh, Content("Models/Tree.fbx"), Content("Models/Tree/2_Trunk.bmesh"),
                                         "Me", "Trunk");
        meMaterial_ = registry_.RegisterSubAsset(AssetType::Material, Content("Models/Tree.fbx"), {}, "Me", "Bark");
    }

    fs::path Content(std::string_view relative) const { return root_ / "Content" / relative; }

    Testing::ScratchFolder root_;
    AssetRegistry registry_;
    AssetHandle cube_ = 0;
    AssetHandle rock_ = 0;
    AssetHandle me_ = 0;
    AssetHandle meMaterial_ = 0;
};

TEST_F(AssetReferenceTest, WritesBuiltinsByNameAndFilesByGuidAndResolvesEachKindOfReferenceOrGivesZero) {
    const std::string rock = "guid:" + Guid::FromName("brelk-asset:content:Art/Rock.png").ToString();
    EXPECT_EQ(AssetReferenceOf(registry_, cube_), "builtin:Builtin/Cube");
    EXPECT_EQ(AssetReferenceOf(registry_, rock_), rock);
    EXPECT_EQ(AssetReferenceOf(registry_, 0), "");
    EXPECT_EQ(AssetReferenceOf(registry_, 12345), "");
    for (const AssetHandle handle : {cube_, rock_, me_, meMaterial_})
        EXPECT_EQ(ResolveAssetReference(registry_, AssetReferenceOf(registry_, handle), AssetType::Unknown), handle);
    const std::string tree = "derived:content:Models/Tree.fbx|";
    const struct {
        std::string reference;
        AssetType type;
        AssetHandle expected;
    } table[] = {
        {rock, AssetType::Texture, rock_},
        {"builtin:Builtin/Cube", AssetType::Mesh, cube_},
        {"content:Art/Rock.png", AssetType::Texture, rock_},
        {"path:" + Content("Art/Rock.png").generic_string(), AssetType::Texture, rock_},
        {tree + "subkey:4d65", AssetType::Mesh, me_},
        {tree + "subkey:4D65", AssetType::Material, meMaterial_},
        {tree + "content:Models/Tree/2_Trunk.bmesh", AssetType::Mesh, me_},
        {tree + "content:Models/Tree/5_Trunk.bmesh", AssetType::Mesh, me_},
        {"", AssetType::Unknown, 0},
        {"guid:nope", AssetType::Unknown, 0},
        {"guid:" + Guid::New().ToString(), AssetType::Unknown, 0},
        {"builtin:Builtin/Nothing", AssetType::Unknown, 0},
        {"content:Art/Missing.png", AssetType::Unknown, 0},
        {"Art/Rock.png", AssetType::Unknown, 0},
        {tree + "subkey:4d6", AssetType::Mesh, 0},
        {tree + "subkey:4g65", AssetType::Mesh, 0},
        {tree + "subkey:4d65", AssetType::Clip, 0},
        {"derived:content:Models/Bush.fbx|subkey:4d65", AssetType::Mesh, 0},
        {tree + "content:Models/Tree/Leaf.bmesh", AssetType::Mesh, 0},
    };
    for (const auto& c : table) EXPECT_EQ(ResolveAssetReference(registry_, c.reference, c.type), c.expected) << c.reference;
}

TEST(AssetReferenceText, WritesAndParsesGuidReferences) {
    const Guid guid = *Guid::Parse("0123456789abcdef8123456789abcdef");
    EXPECT_EQ(GuidReferenceOf(guid), "guid:01234567-89ab-cdef-8123-456789abcdef");
    EXPECT_EQ(ParseGuidReference("guid:01234567-89ab-cdef-8123-456789abcdef"), guid);
    for (const char* text : {"01234567-89ab-cdef-8123-456789abcdef", "guid:00000000-0000-0000-0000-000000000000",
                             "guid:01234567-89ab-cdef-8123-456789abcdeX", "builtin:Builtin/Cube"})
        EXPECT_FALSE(ParseGuidReference(text)) << text;
}

} // namespace
} // namespace Brelk::Assets
