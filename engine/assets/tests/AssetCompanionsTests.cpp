#include "engine/assets/AssetCompanions.h"

#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Testing::ListFiles;
using Testing::ReadText;
using Testing::TempFolder;
using Testing::WriteText;

TEST(AssetCompanions, ListsTheExistingCompanionsInTheirOrder) {
    TempFolder folder;
    WriteText(folder / "Island.bworld", "w");
    WriteText(folder / "Island.bworld.cells/c.bcell", "c");
    WriteText(folder / "Island.bworld.bmeta", "m");
    EXPECT_EQ(ExistingCompanions(folder / "Island.bworld"),
              (std::vector<fs::path>{folder / "Island.bworld.bmeta", folder / "Island.bworld.cells"}));
    EXPECT_TRUE(ExistingCompanions(folder / "Other.bworld").empty());
}

TEST(AssetCompanions, MovesAllThreeCompanionsToTheNewName) {
    TempFolder folder;
    WriteText(folder / "Tree.fbx.bmeta", "m");
    WriteText(folder / "Tree.fbx.materials/Bark.bmat", "b");
    WriteText(folder / "Tree.fbx.cells/c.bcell", "c");
    std::string error;
    ASSERT_TRUE(RenameCompanions(folder / "Tree.fbx", folder / "Oak.fbx", &error)) << error;
    EXPECT_EQ(ListFiles(folder.Path()),
              (std::vector<std::string>{"Oak.fbx.bmeta", "Oak.fbx.cells/c.bcell", "Oak.fbx.materials/Bark.bmat"}));
}

TEST(AssetCompanions, RefusesACompanionThatExistsAtTheNewNameAndStillMovesTheOthers) {
    TempFolder folder;
    WriteText(folder / "Tree.fbx.bmeta", "old");
    WriteText(folder / "Tree.fbx.materials/Bark.bmat", "b");
    WriteText(folder / "Oak.fbx.bmeta", "taken");
    std::string error;
    EXPECT_FALSE(RenameCompanions(folder / "Tree.fbx", folder / "Oak.fbx", &error));
    EXPECT_EQ(error, "Sidecar already exists: " + (folder / "Oak.fbx.bmeta").string());
    EXPECT_EQ(ReadText(folder / "Oak.fbx.bmeta"), "taken");
    EXPECT_EQ(ReadText(folder / "Tree.fbx.bmeta"), "old");
    EXPECT_TRUE(fs::exists(folder / "Oak.fbx.materials/Bark.bmat"));
}

TEST(AssetCompanions, RenamesTheSourceFirstAndItsCompanionsOnlyIfThatWorked) {
    TempFolder folder;
    WriteText(folder / "Rock.png.bmeta", "m");
    std::string error;
    EXPECT_FALSE(RenameAssetSource(folder / "Rock.png", folder / "Stone.png", &error));
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(fs::exists(folder / "Rock.png.bmeta"));

    WriteText(folder / "Rock.png", "png");
    ASSERT_TRUE(RenameAssetSource(folder / "Rock.png", folder / "Stone.png", &error)) << error;
    EXPECT_EQ(ListFiles(folder.Path()), (std::vector<std::string>{"Stone.png", "Stone.png.bmeta"}));
}

} // namespace
} // namespace Brelk::Assets
