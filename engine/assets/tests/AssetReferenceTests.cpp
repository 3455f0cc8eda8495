#include "engine/assets/AssetReference.h"

#include "engine/assets/AssetRegistry.h"
#include "engine/assets/AssetTypeWords.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <map>

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
    const std::map<AssetHandle, std::string> names{{0, "none"}, {cube_, "cube"}, {rock_, "rock"}, {me_, "trunk"},
                                                   {meMaterial_, "bark"}};
    Brelk::Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "ResolvedReferences.txt", [&](const auto& c) {
        const std::size_t typeEnd = c.input.find('\n');
        std::string reference = c.input.substr(typeEnd + 1, c.input.size() - typeEnd - 2);
        if (reference.starts_with("path:<content>")) reference.replace(5, 9, (root_ / "Content").generic_string());
        return names.at(ResolveAssetReference(registry_, reference, AssetTypeFromWord(c.input.substr(0, typeEnd))));
    });
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
