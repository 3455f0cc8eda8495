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

using GenerateProceduralWorldTest = WorldFixture;

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

// The golden world pins an even grid with terrain; an odd one has a centre cell, a terrain
// needs two samples a side, and more props keep the places of the first ones.
TEST_F(GenerateProceduralWorldTest, CentresAnOddGridAndStartsGuidsAtTheFirstPropWithoutTerrain) {
    std::vector<Scene::TransformComponent> firstProps;
    for (const auto& [props, terrain] : {std::pair{2u, 0u}, std::pair{5u, 1u}}) {
        std::string error;
        ASSERT_TRUE(GenerateProceduralWorld(assets, WorldPath(), Grid(3, props, terrain), nullptr, &error)) << error;
        WorldAsset world;
        ASSERT_TRUE(ReadWorldAsset(WorldPath(), world, &error)) << error;
        ASSERT_EQ(world.cells.size(), 9u);
        EXPECT_EQ(world.cells.front().coord, (CellCoord{-1, -1}));
        EXPECT_EQ(world.cells.back().coord, (CellCoord{1, 1}));
        for (const WorldCellEntry& cell : world.cells) {
            EXPECT_EQ(cell.entityCount, props);
            EXPECT_EQ(cell.terrainCount, 0u);
        }
        Scene::Scene scene;
        ASSERT_TRUE(Scene::LoadScene(CellFilePath(WorldPath(), {-1, -1}), scene, assets, &error)) << error;
        for (std::uint32_t index = 0; index < 2; ++index) {
            const Scene::Entity prop = scene.FindEntityByGuid(MakeProceduralGuid(1, -1, -1, index));
            ASSERT_NE(prop, Scene::kNullEntity);
            EXPECT_EQ(scene.GetName(prop), "Prop " + std::to_string(index));
            if (props == 2)
                firstProps.push_back(scene.Get<Scene::TransformComponent>(prop));
            else
                EXPECT_EQ(scene.Get<Scene::TransformComponent>(prop), firstProps[index]);
        }
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
