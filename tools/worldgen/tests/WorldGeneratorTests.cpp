#include "tools/worldgen/WorldGenerator.h"

#include "tools/worldgen/WorldAsset.h"
#include "tools/worldgen/tests/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

ProceduralWorldSettings Grid(std::int32_t cells, std::uint32_t props = 2, std::uint32_t terrain = 33) {
    ProceduralWorldSettings settings;
    settings.cellsX = cells;
    settings.cellsZ = cells;
    settings.propsPerCell = props;
    settings.terrainResolution = terrain;
    return settings;
}

WorldAsset GenerateAndRead(const fs::path& worldPath, const ProceduralWorldSettings& settings) {
    std::string error;
    EXPECT_TRUE(GenerateProceduralWorld(worldPath, settings, nullptr, &error)) << error;
    WorldAsset world;
    EXPECT_TRUE(ReadWorldAsset(worldPath, world, &error)) << error;
    return world;
}

std::vector<CellCoord> Coords(const WorldAsset& world) {
    std::vector<CellCoord> coords;
    for (const WorldCellEntry& cell : world.cells) coords.push_back(cell.coord);
    return coords;
}

TEST(GridStart, CentresEvenAndOddGrids) {
    EXPECT_EQ(GridStart(1), 0);
    EXPECT_EQ(GridStart(2), -1);
    EXPECT_EQ(GridStart(3), -1);
    EXPECT_EQ(GridStart(5), -2);
    EXPECT_EQ(GridStart(24), -12);
}

TEST(GenerateProceduralWorld, RefusesAnEmptyGridOrABadCellSize) {
    ScratchFolder folder;
    const fs::path worldPath = folder / "w.bworld";
    WriteText(worldPath, "earlier");
    ProceduralWorldSettings settings;
    for (const auto& change : std::initializer_list<void (*)(ProceduralWorldSettings&)>{
             [](ProceduralWorldSettings& s) { s.cellsX = 0; }, [](ProceduralWorldSettings& s) { s.cellsZ = -3; },
             [](ProceduralWorldSettings& s) { s.cellSize = 0.0f; },
             [](ProceduralWorldSettings& s) { s.cellSize = -1.0f; },
             [](ProceduralWorldSettings& s) { s.cellSize = std::nanf(""); }}) {
        ProceduralWorldSettings bad = settings;
        change(bad);
        std::string error;
        EXPECT_FALSE(GenerateProceduralWorld(worldPath, bad, nullptr, &error));
        EXPECT_EQ(error, "The world needs at least one cell and a positive cell size.");
    }
    EXPECT_FALSE(fs::exists(CellsFolder(worldPath)));
    EXPECT_EQ(ReadText(worldPath), "earlier");
}

TEST(GenerateProceduralWorld, ListsOneCellForASingleCellGrid) {
    ScratchFolder folder;
    const WorldAsset world = GenerateAndRead(folder / "w.bworld", Grid(1));
    EXPECT_EQ(Coords(world), (std::vector<CellCoord>{{0, 0}}));
}

TEST(GenerateProceduralWorld, CentresTheGrid) {
    ScratchFolder folder;
    EXPECT_EQ(Coords(GenerateAndRead(folder / "two.bworld", Grid(2))),
              (std::vector<CellCoord>{{-1, -1}, {0, -1}, {-1, 0}, {0, 0}}));
    const std::vector<CellCoord> three = Coords(GenerateAndRead(folder / "three.bworld", Grid(3)));
    ASSERT_EQ(three.size(), 9u);
    EXPECT_EQ(three.front(), (CellCoord{-1, -1}));
    EXPECT_EQ(three.back(), (CellCoord{1, 1}));
}

TEST(GenerateProceduralWorld, WritesTheDefaultWorldAsTheKnownHead) {
    ScratchFolder folder;
    const fs::path worldPath = folder / "Worlds/Procedural.bworld";
    WorldGenerationResult result;
    std::string error;
    ASSERT_TRUE(GenerateProceduralWorld(worldPath, ProceduralWorldSettings{}, &result, &error)) << error;
    const std::string head =
        "brelk_world 1\ncell_size 64\norigin 0 0\nnavigation 0\ncell -12 -12 41 0 1 0\ncell -11 -12 41 0 1 0\n";
    EXPECT_EQ(ReadText(worldPath).substr(0, head.size()), head);
    EXPECT_EQ(result.worldPath, worldPath);
    EXPECT_EQ(result.cellCount, 576u);
    EXPECT_EQ(result.entityCount, 23616u);
    EXPECT_EQ(result.cellFileBytes, 0u);
    EXPECT_EQ(result.residentBytes, 576u * (41u << 9) * 2u);
    EXPECT_TRUE(fs::is_directory(CellsFolder(worldPath)));
}

TEST(GenerateProceduralWorld, CountsATerrainEntityOnlyFromTwoSamples) {
    ScratchFolder folder;
    for (const std::uint32_t terrain : {0u, 1u}) {
        const WorldAsset world = GenerateAndRead(folder / "w.bworld", Grid(2, 5, terrain));
        for (const WorldCellEntry& cell : world.cells) {
            EXPECT_EQ(cell.entityCount, 5u);
            EXPECT_EQ(cell.terrainCount, 0u);
        }
    }
    const WorldAsset world = GenerateAndRead(folder / "w.bworld", Grid(2, 0, 2));
    for (const WorldCellEntry& cell : world.cells) {
        EXPECT_EQ(cell.entityCount, 1u);
        EXPECT_EQ(cell.terrainCount, 1u);
    }
}

TEST(GenerateProceduralWorld, WipesTheCellsOfAnEarlierRun) {
    ScratchFolder folder;
    const fs::path worldPath = folder / "w.bworld";
    WriteText(CellsFolder(worldPath) / "cell_99_99.bcell", "stale");
    WriteText(CellsFolder(worldPath) / "deeper/x", "stale");
    (void)GenerateAndRead(worldPath, Grid(1));
    EXPECT_TRUE(fs::is_directory(CellsFolder(worldPath)));
    EXPECT_TRUE(fs::is_empty(CellsFolder(worldPath)));
}

TEST(GenerateProceduralWorld, ReportsACellsFolderThatCannotBeCreated) {
    ScratchFolder folder;
    WriteText(folder / "file", "x");
    const fs::path worldPath = folder / "file/w.bworld";
    std::string error;
    EXPECT_FALSE(GenerateProceduralWorld(worldPath, Grid(1), nullptr, &error));
    const std::string prefix = "Cannot create " + CellsFolder(worldPath).string() + ": ";
    EXPECT_EQ(error.rfind(prefix, 0), 0u) << error;
    EXPECT_GT(error.size(), prefix.size());
}

TEST(GenerateProceduralWorld, GivesTheSameWorldFileOnEveryRun) {
    ScratchFolder folder;
    const fs::path worldPath = folder / "w.bworld";
    (void)GenerateAndRead(worldPath, Grid(3));
    const std::string first = ReadText(worldPath);
    (void)GenerateAndRead(worldPath, Grid(3));
    EXPECT_EQ(ReadText(worldPath), first);
}

} // namespace
} // namespace Brelk::WorldGen
