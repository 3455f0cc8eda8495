#include "tools/worldgen/WorldGenerator.h"

#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/CoreComponents.h"
#include "tools/worldgen/Sampling.h"
#include "tools/worldgen/WorldAsset.h"
#include "tools/worldgen/tests/WorldFixture.h"

#include <cmath>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;
using Testing::WriteText;

class GenerateProceduralWorldTest : public WorldFixture {
protected:
    WorldAsset GenerateAndRead(const ProceduralWorldSettings& settings) {
        std::string error;
        EXPECT_TRUE(GenerateProceduralWorld(assets, WorldPath(), settings, nullptr, &error)) << error;
        WorldAsset world;
        EXPECT_TRUE(ReadWorldAsset(WorldPath(), world, &error)) << error;
        return world;
    }

    Scene::Scene LoadCell(CellCoord coord) {
        Scene::Scene scene;
        std::string error;
        EXPECT_TRUE(Scene::LoadScene(CellFilePath(WorldPath(), coord), scene, assets, &error)) << error;
        return scene;
    }
};

TEST_F(GenerateProceduralWorldTest, RefusesAnEmptyGridOrABadCellSizeAndTouchesNothing) {
    WriteText(WorldPath(), "earlier");
    for (const auto& change : std::initializer_list<void (*)(ProceduralWorldSettings&)>{
             [](ProceduralWorldSettings& s) { s.cellsX = 0; }, [](ProceduralWorldSettings& s) { s.cellsZ = -3; },
             [](ProceduralWorldSettings& s) { s.cellSize = 0.0f; },
             [](ProceduralWorldSettings& s) { s.cellSize = -1.0f; },
             [](ProceduralWorldSettings& s) { s.cellSize = std::nanf(""); }}) {
        ProceduralWorldSettings bad = Grid(1);
        change(bad);
        std::string error;
        EXPECT_FALSE(GenerateProceduralWorld(assets, WorldPath(), bad, nullptr, &error));
        EXPECT_EQ(error, "The world needs at least one cell and a positive cell size.");
    }
    EXPECT_FALSE(fs::exists(CellsFolder(WorldPath())));
    EXPECT_EQ(ReadText(WorldPath()), "earlier");
}

// The golden world pins an even grid with terrain; an odd one has a centre cell, and a
// terrain needs two samples a side.
TEST_F(GenerateProceduralWorldTest, CentresAnOddGridAndStartsGuidsAtTheFirstPropWithoutTerrain) {
    for (const std::uint32_t terrain : {0u, 1u}) {
        const WorldAsset world = GenerateAndRead(Grid(3, 3, terrain));
        ASSERT_EQ(world.cells.size(), 9u);
        EXPECT_EQ(world.cells.front().coord, (CellCoord{-1, -1}));
        EXPECT_EQ(world.cells.back().coord, (CellCoord{1, 1}));
        for (const WorldCellEntry& cell : world.cells) {
            EXPECT_EQ(cell.entityCount, 3u);
            EXPECT_EQ(cell.terrainCount, 0u);
        }
        const Scene::Scene scene = LoadCell({-1, -1});
        const Scene::Entity first = scene.FindEntityByGuid(MakeProceduralGuid(1, -1, -1, 0));
        ASSERT_NE(first, Scene::kNullEntity);
        EXPECT_EQ(scene.GetName(first), "Prop 0");
    }
}

TEST_F(GenerateProceduralWorldTest, MorePropsKeepTheFirstProps) {
    (void)GenerateAndRead(Grid(1, 2, 0));
    const Scene::Scene fewer = LoadCell({0, 0});
    (void)GenerateAndRead(Grid(1, 5, 0));
    const Scene::Scene more = LoadCell({0, 0});
    for (std::uint32_t index = 0; index < 2; ++index) {
        const Core::Guid guid = MakeProceduralGuid(1, 0, 0, index);
        EXPECT_EQ(fewer.Get<Scene::TransformComponent>(fewer.FindEntityByGuid(guid)),
                  more.Get<Scene::TransformComponent>(more.FindEntityByGuid(guid)));
    }
}

TEST_F(GenerateProceduralWorldTest, ReportsACellsFolderThatCannotBeCreated) {
    WriteText(folder / "file", "x");
    const fs::path worldPath = folder / "file/w.bworld";
    std::string error;
    EXPECT_FALSE(GenerateProceduralWorld(assets, worldPath, Grid(1), nullptr, &error));
    const std::string prefix = "Cannot create " + CellsFolder(worldPath).string() + ": ";
    EXPECT_EQ(error.rfind(prefix, 0), 0u) << error;
    EXPECT_GT(error.size(), prefix.size());
}

} // namespace
} // namespace Brelk::WorldGen
