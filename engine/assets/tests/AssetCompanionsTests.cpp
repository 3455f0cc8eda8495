#include "engine/assets/AssetCompanions.h"

#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Testing::ListFiles;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

TEST(AssetCompanions, MovesEveryCompanionItCanAndRefusesOneThatExistsAtTheNewName) {
    ScratchFolder folder;
    WriteText(folder / "Tree.fbx.bmeta", "m");
    WriteText(folder / "Tree.fbx.materials/Bark.bmat", "b");
    WriteText(folder / "Tree.fbx.cells/c.bcell", "c");
    std::string error;
    ASSERT_TRUE(RenameCompanions(folder / "Tree.fbx", folder / "Oak.fbx", &error)) << error;
    EXPECT_EQ(ListFiles(folder.Path()),
              (std::vector<std::string>{"Oak.fbx.bmeta", "Oak.fbx.cells/c.bcell", "Oak.fbx.materials/Bark.bmat"}));

    WriteText(folder / "Elm.fbx.bmeta", "taken");
    EXPECT_FALSE(RenameCompanions(folder / "Oak.fbx", folder / "Elm.fbx", &error));
    EXPECT_EQ(error, "Sidecar already exists: " + (folder / "Elm.fbx.bmeta").string());
    EXPECT_EQ(ListFiles(folder.Path()), (std::vector<std::string>{"Elm.fbx.bmeta", "Elm.fbx.cells/c.bcell",
                                                                  "Elm.fbx.materials/Bark.bmat", "Oak.fbx.bmeta"}));
    EXPECT_EQ(ReadText(folder / "Elm.fbx.bmeta"), "taken");
}

TEST(AssetCompanions, RenamesTheSourceFirstAndItsCompanionsOnlyIfThatWorked) {
    ScratchFolder folder;
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
