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
    WorldAsset GenerateAndRead(const ProceduralWorldSettings& settings, WorldGenerationResult* result = nullptr) {
        std::string error;
        EXPECT_TRUE(GenerateProceduralWorld(assets, WorldPath(), settings, result, &error)) << error;
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

std::vector<CellCoord> Coords(const WorldAsset& world) {
    std::vector<CellCoord> coords;
    for (const WorldCellEntry& cell : world.cells) coords.push_back(cell.coord);
    return coords;
}

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

TEST_F(GenerateProceduralWorldTest, CentresGridsOfOneTwoAndThree) {
    EXPECT_EQ(Coords(GenerateAndRead(Grid(1))), (std::vector<CellCoord>{{0, 0}}));
    EXPECT_EQ(Coords(GenerateAndRead(Grid(2))), (std::vector<CellCoord>{{-1, -1}, {0, -1}, {-1, 0}, {0, 0}}));
    const std::vector<CellCoord> three = Coords(GenerateAndRead(Grid(3)));
    EXPECT_EQ(std::vector<CellCoord>(three.begin(), three.begin() + 2), (std::vector<CellCoord>{{-1, -1}, {0, -1}}));
    EXPECT_EQ(three.back(), (CellCoord{1, 1}));
}

TEST_F(GenerateProceduralWorldTest, TheDefaultWorldHas576CellsOf41Entities) {
    WorldGenerationResult result;
    const WorldAsset world = GenerateAndRead(ProceduralWorldSettings{}, &result);
    ASSERT_EQ(world.cells.size(), 576u);
    std::uint64_t fileBytes = 0;
    for (const WorldCellEntry& cell : world.cells) {
        EXPECT_EQ(cell.entityCount, 41u);
        EXPECT_EQ(cell.terrainCount, 1u);
        EXPECT_EQ(cell.fileBytes, fs::file_size(CellFilePath(WorldPath(), cell.coord)));
        fileBytes += cell.fileBytes;
    }
    EXPECT_EQ(result.cellCount, 576u);
    EXPECT_EQ(result.entityCount, 23616u);
    EXPECT_EQ(result.cellFileBytes, fileBytes);
    EXPECT_EQ(result.worldPath, WorldPath());
    EXPECT_NE(assets.GetRegistry().HandleOfPath(WorldPath()), Assets::kNullAssetHandle);
}

TEST_F(GenerateProceduralWorldTest, CellsWithoutTerrainStartTheirGuidsAtTheFirstProp) {
    for (const std::uint32_t terrain : {0u, 1u}) {
        const WorldAsset world = GenerateAndRead(Grid(2, 3, terrain));
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
