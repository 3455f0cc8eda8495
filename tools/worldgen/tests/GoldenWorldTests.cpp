#include "tools/worldgen/WorldGenerator.h"

#include "tools/worldgen/WorldAsset.h"
#include "tools/worldgen/tests/WorldFixture.h"

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;

// A 2 by 2 world of one prop and a four-sample terrain per cell, seed 7, pinned byte for
// byte: any change to sampling, record order, number text or file layout shows here, and the
// summary's figures follow from the same files.
using GoldenWorldTest = WorldFixture;

TEST_F(GoldenWorldTest, SmallWorldMatchesItsGoldenFiles) {
    ProceduralWorldSettings settings = Grid(2, 1, 2);
    settings.seed = 7;
    WorldGenerationResult result;
    std::string error;
    ASSERT_TRUE(GenerateProceduralWorld(assets, WorldPath(), settings, &result, &error)) << error;

    const fs::path golden = fs::path(BRELK_TEST_DATA_DIR) / "SmallWorld";
    EXPECT_EQ(ReadText(WorldPath()), ReadText(golden / "Procedural.bworld"));
    std::size_t cells = 0;
    for (const auto& entry : fs::directory_iterator(CellsFolder(WorldPath()))) {
        ++cells;
        EXPECT_EQ(ReadText(entry.path()), ReadText(golden / entry.path().filename())) << entry.path().filename();
    }
    EXPECT_EQ(cells, 4u);
    EXPECT_EQ(result.worldPath, WorldPath());
    EXPECT_EQ(result.cellCount, 4u);
    EXPECT_EQ(result.entityCount, 8u);
    EXPECT_EQ(result.cellFileBytes, 20471u);
    EXPECT_EQ(result.residentBytes, 49134u);
    EXPECT_NE(assets.GetRegistry().HandleOfPath(WorldPath()), Assets::kNullAssetHandle);
}

} // namespace
} // namespace Brelk::WorldGen
