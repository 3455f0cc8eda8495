#include "tools/worldgen/WorldGenerator.h"

#include "tools/worldgen/WorldAsset.h"
#include "tools/worldgen/tests/WorldFixture.h"

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;

// A 2 by 2 world of one prop and a four-sample terrain per cell, seed 7, pinned byte for
// byte: any change to sampling, record order, number text or file layout shows here.
using GoldenWorldTest = WorldFixture;

TEST_F(GoldenWorldTest, SmallWorldMatchesItsGoldenFiles) {
    ProceduralWorldSettings settings = Grid(2, 1, 2);
    settings.seed = 7;
    std::string error;
    ASSERT_TRUE(GenerateProceduralWorld(assets, WorldPath(), settings, nullptr, &error)) << error;

    const fs::path golden = fs::path(BRELK_TEST_DATA_DIR) / "SmallWorld";
    EXPECT_EQ(ReadText(WorldPath()), ReadText(golden / "Procedural.bworld"));
    std::size_t cells = 0;
    for (const auto& entry : fs::directory_iterator(CellsFolder(WorldPath()))) {
        ++cells;
        EXPECT_EQ(ReadText(entry.path()), ReadText(golden / entry.path().filename())) << entry.path().filename();
    }
    EXPECT_EQ(cells, 4u);
}

} // namespace
} // namespace Brelk::WorldGen
