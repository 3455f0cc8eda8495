#include "tools/worldgen/WorldAsset.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

WorldAsset SampleWorld() {
    WorldAsset world;
    world.cellSize = 0.1f;
    world.originX = -3.5f;
    world.originZ = 1e-7f;
    world.navigation = true;
    world.cells = {
        {{5, 2}, 41, 123456, 1, false},
        {{-1, 0}, 4, 4294967296ull * 3, 1, true},
        {{-12, -12}, 0, kUnknownCellFileBytes, 0, false},
        {{7, -12}, 4294967295u, 0, 4294967295u, true},
    };
    return world;
}

// Parses `text` and gives the error, or "ok".
std::string ParseError(std::string_view text) {
    WorldAsset world;
    std::string error;
    if (ParseWorldAssetText(text, "w.bworld", world, &error)) return "ok";
    EXPECT_EQ(world, WorldAsset{}) << "a failed read must leave the defaults";
    return error;
}

TEST(WorldAssetText, WritesTheHeadLinesAndSortedCells) {
    WorldAsset world = SampleWorld();
    EXPECT_EQ(FormatWorldAssetText(world),
              "brelk_world 1\n"
              "cell_size 0.100000001\n"
              "origin -3.5 1.00000001e-07\n"
              "navigation 1\n"
              "cell -12 -12 0 18446744073709551615 0 0\n"
              "cell 7 -12 4294967295 0 4294967295 1\n"
              "cell -1 0 4 12884901888 1 1\n"
              "cell 5 2 41 123456 1 0\n");
}

TEST(WorldAssetText, WritesAnEmptyWorldAsFourLines) {
    EXPECT_EQ(FormatWorldAssetText(WorldAsset{}), "brelk_world 1\ncell_size 64\norigin 0 0\nnavigation 0\n");
}

TEST(WorldAssetText, RoundTripsEveryField) {
    const WorldAsset world = SampleWorld();
    WorldAsset read;
    std::string error;
    ASSERT_TRUE(ParseWorldAssetText(FormatWorldAssetText(world), "w", read, &error)) << error;
    WorldAsset sorted = world;
    SortCells(sorted.cells);
    EXPECT_EQ(read, sorted);
}

TEST(WorldAssetText, RoundTripsFloatsBitForBit) {
    WorldAsset world;
    for (const float value : {1.0f / 3.0f, 16777217.0f, 1e-38f, 3.4028235e38f, 7.0064923e-45f}) {
        world.cellSize = value;
        world.originX = -value;
        world.originZ = value * 0.5f;
        WorldAsset read;
        ASSERT_TRUE(ParseWorldAssetText(FormatWorldAssetText(world), "w", read, nullptr)) << value;
        EXPECT_EQ(read.cellSize, world.cellSize);
        EXPECT_EQ(read.originX, world.originX);
        EXPECT_EQ(read.originZ, world.originZ);
    }
}

TEST(WorldAssetText, ReadsANegativeCellWithALargeSize) {
    WorldAsset world;
    ASSERT_TRUE(ParseWorldAssetText("brelk_world 1\ncell -1 0 4 100 1 0\n", "w", world, nullptr));
    ASSERT_EQ(world.cells.size(), 1u);
    EXPECT_EQ(world.cells[0], (WorldCellEntry{{-1, 0}, 4, 100, 1, false}));
    ASSERT_TRUE(ParseWorldAssetText("brelk_world 1\ncell 0 0 1 18446744073709551615 1 7\n", "w", world, nullptr));
    EXPECT_EQ(world.cells[0].fileBytes, kUnknownCellFileBytes);
    EXPECT_TRUE(world.cells[0].hasNavigation);
}

TEST(WorldAssetText, ReadsCrLfLikeLf) {
    WorldAsset world;
    ASSERT_TRUE(ParseWorldAssetText("brelk_world 1\r\ncell_size 32\r\n\r\ncell 1 2 3 4 5 0\r\n", "w", world, nullptr));
    EXPECT_EQ(world.cellSize, 32.0f);
    ASSERT_EQ(world.cells.size(), 1u);
    EXPECT_EQ(world.cells[0].terrainCount, 5u);
}

TEST(WorldAssetText, LetsTheLastHeadRecordWinAndAddsEveryCell) {
    WorldAsset world;
    ASSERT_TRUE(ParseWorldAssetText("brelk_world 1\ncell 2 0 1 1 1 0\ncell_size 8\norigin 1 2\nnavigation 5\n"
                                    "cell_size 16\norigin 3 4\nnavigation 0\ncell 1 0 1 1 1 0\ncell 1 0 2 2 2 0\n",
                                    "w", world, nullptr));
    EXPECT_EQ(world.cellSize, 16.0f);
    EXPECT_EQ(world.originX, 3.0f);
    EXPECT_EQ(world.originZ, 4.0f);
    EXPECT_FALSE(world.navigation);
    ASSERT_EQ(world.cells.size(), 3u);
    EXPECT_EQ(world.cells[2].coord, (CellCoord{2, 0}));
}

TEST(WorldAssetText, SortsCellsByZThenX) {
    WorldAsset world;
    ASSERT_TRUE(ParseWorldAssetText("brelk_world 1\ncell 1 1 0 0 0 0\ncell -1 1 0 0 0 0\ncell 5 -2 0 0 0 0\n", "w",
                                    world, nullptr));
    ASSERT_EQ(world.cells.size(), 3u);
    EXPECT_EQ(world.cells[0].coord, (CellCoord{5, -2}));
    EXPECT_EQ(world.cells[1].coord, (CellCoord{-1, 1}));
    EXPECT_EQ(world.cells[2].coord, (CellCoord{1, 1}));
}

TEST(WorldAssetText, KeepsTheOrderOfRowsWithTheSameCoordinates) {
    WorldAsset world;
    ASSERT_TRUE(ParseWorldAssetText("brelk_world 1\ncell 0 0 3 0 0 0\ncell -1 0 9 0 0 0\ncell 0 0 1 0 0 0\n"
                                    "cell 0 0 2 0 0 0\n",
                                    "w", world, nullptr));
    ASSERT_EQ(world.cells.size(), 4u);
    EXPECT_EQ(world.cells[1].entityCount, 3u);
    EXPECT_EQ(world.cells[2].entityCount, 1u);
    EXPECT_EQ(world.cells[3].entityCount, 2u);
    WorldAsset again;
    ASSERT_TRUE(ParseWorldAssetText(FormatWorldAssetText(world), "w", again, nullptr));
    EXPECT_EQ(again, world);
}

TEST(WorldAssetText, SkipsUnknownWordsCommentsAndExtraNumbers) {
    WorldAsset world;
    ASSERT_TRUE(ParseWorldAssetText("# made by hand\nbrelk_world 1 extra\nfuture_record 1 2 3\n# x\n"
                                    "cell_size 12abc\n   \ncell 1 2 3 4 5 6 7 8\n",
                                    "w", world, nullptr));
    EXPECT_EQ(world.cellSize, 12.0f);
    ASSERT_EQ(world.cells.size(), 1u);
}

TEST(WorldAssetText, ReadsTheLastLineWithoutALineFeed) {
    WorldAsset world;
    ASSERT_TRUE(ParseWorldAssetText("brelk_world 1\ncell_size 2", "w", world, nullptr));
    EXPECT_EQ(world.cellSize, 2.0f);
}

struct BrokenWorld {
    std::string_view text;
    std::string_view error;
};

TEST(WorldAssetText, ReportsEachBrokenInputExactly) {
    const BrokenWorld table[] = {
        {"", "Not a world file: w.bworld"},
        {"# note\n", "Not a world file: w.bworld"},
        {"\n\n# only comments\n\r\n", "Not a world file: w.bworld"},
        {"cell_size 64\n", "Invalid world file w.bworld at line 1."},
        {"brelk_world 2\n", "Invalid world file w.bworld at line 1."},
        {"brelk_world\n", "Invalid world file w.bworld at line 1."},
        {"brelk_world x1\n", "Invalid world file w.bworld at line 1."},
        {"# comment\n\nbrelk_world 0\n", "Invalid world file w.bworld at line 3."},
        {"unknown 1\nbrelk_world 1\n", "Invalid world file w.bworld at line 1."},
        {"  \nbrelk_world 1\n", "Invalid world file w.bworld at line 1."},
        {" # indented comment\nbrelk_world 1\n", "Invalid world file w.bworld at line 1."},
        {"brelk_world 1\ncell_size 0\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell_size -1\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell_size 1e39\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell_size inf\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell_size nan\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell_size 1e-50\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell_size\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\norigin 1\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\norigin 1 1e\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\nnavigation yes\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\nnavigation 2147483648\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\n\ncell 1 2 3\n", "Invalid world file w.bworld at line 3."},
        {"brelk_world 1\ncell 2147483648 0 0 0 0 0\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell 0 0 4294967296 0 0 0\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell 0 0 0 18446744073709551616 0 0\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell 0 0 0 5x 0 0\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell 0 0 0 0 0 -\n", "Invalid world file w.bworld at line 2."},
        {"brelk_world 1\ncell 1 1 1 1 1 1\nbrelk_world 3\n", "Invalid world file w.bworld at line 3."},
    };
    for (const BrokenWorld& broken : table) EXPECT_EQ(ParseError(broken.text), broken.error) << broken.text;
}

TEST(WorldAssetText, WrapsAMinusSignInUnsignedFields) {
    WorldAsset world;
    ASSERT_TRUE(ParseWorldAssetText("brelk_world 1\ncell 0 0 -1 -1 -0 0\n", "w", world, nullptr));
    EXPECT_EQ(world.cells[0].entityCount, 4294967295u);
    EXPECT_EQ(world.cells[0].fileBytes, kUnknownCellFileBytes);
    EXPECT_EQ(world.cells[0].terrainCount, 0u);
}

TEST(WorldAssetFile, RoundTripsThroughTheDisk) {
    ScratchFolder folder;
    const fs::path path = folder / "Worlds/Procedural.bworld";
    std::string error;
    ASSERT_TRUE(WriteWorldAsset(path, SampleWorld(), &error)) << error;
    WorldAsset read;
    ASSERT_TRUE(ReadWorldAsset(path, read, &error)) << error;
    WorldAsset sorted = SampleWorld();
    SortCells(sorted.cells);
    EXPECT_EQ(read, sorted);
    EXPECT_EQ(ReadText(path), FormatWorldAssetText(SampleWorld()));
}

TEST(WorldAssetFile, NamesThePathInItsMessages) {
    ScratchFolder folder;
    const fs::path path = folder / "w.bworld";
    WriteText(path, "# note\n");
    WorldAsset world = SampleWorld();
    std::string error;
    EXPECT_FALSE(ReadWorldAsset(path, world, &error));
    EXPECT_EQ(error, "Not a world file: " + path.string());
    EXPECT_EQ(world, WorldAsset{});
    WriteText(path, "brelk_world 1\ncell 1\n");
    EXPECT_FALSE(ReadWorldAsset(path, world, &error));
    EXPECT_EQ(error, "Invalid world file " + path.string() + " at line 2.");
}

TEST(WorldAssetFile, ReportsAMissingFileAndResetsTheWorld) {
    ScratchFolder folder;
    WorldAsset world = SampleWorld();
    std::string error;
    EXPECT_FALSE(ReadWorldAsset(folder / "missing.bworld", world, &error));
    EXPECT_EQ(error, "Failed to open " + (folder / "missing.bworld").string());
    EXPECT_EQ(world, WorldAsset{});
    EXPECT_FALSE(ReadWorldAsset(folder / "missing.bworld", world, nullptr));
}

TEST(WorldAssetFile, FailedWriteLeavesTheEarlierFile) {
    ScratchFolder folder;
    const fs::path path = folder / "w.bworld";
    ASSERT_TRUE(WriteWorldAsset(path, WorldAsset{}, nullptr));
    // A folder where the temporary file would be renamed to makes the replacement fail.
    const fs::path blocked = folder / "blocked.bworld";
    fs::create_directories(blocked / "inside");
    std::string error;
    EXPECT_FALSE(WriteWorldAsset(blocked, SampleWorld(), &error));
    EXPECT_EQ(error.rfind("Failed to replace " + blocked.string() + ": ", 0), 0u) << error;
    EXPECT_TRUE(fs::is_directory(blocked / "inside"));
    EXPECT_EQ(ReadText(path), FormatWorldAssetText(WorldAsset{}));
}

TEST(WorldAssetFile, ReportsAParentThatIsAFile) {
    ScratchFolder folder;
    WriteText(folder / "file", "x");
    std::string error;
    EXPECT_FALSE(WriteWorldAsset(folder / "file/w.bworld", WorldAsset{}, &error));
    EXPECT_EQ(error.rfind("Failed to create " + (folder / "file").string() + ": ", 0), 0u) << error;
}

TEST(CellsFolder, AppendsCellsToTheWholeFileName) {
    EXPECT_EQ(CellsFolder("Worlds/Procedural.bworld"), fs::path("Worlds/Procedural.bworld.cells"));
    EXPECT_EQ(CellFilePath("W/Foo.bworld", {-12, 3}), fs::path("W/Foo.bworld.cells/cell_-12_3.bcell"));
}

TEST(GridArithmetic, PlacesCellCornersFromTheOrigin) {
    WorldAsset world;
    world.cellSize = 64.0f;
    world.originX = 10.0f;
    world.originZ = -5.0f;
    EXPECT_EQ(CellOrigin(world, {-12, 3}), glm::vec2(-758.0f, 187.0f));
    EXPECT_EQ(CellOuterCorner(world, {-12, 3}), glm::vec2(-694.0f, 251.0f));
}

TEST(GridArithmetic, RoundsEachStepInSinglePrecision) {
    WorldAsset world;
    world.cellSize = 0.1f;
    world.originX = 1e8f;
    volatile float product = static_cast<float>(3) * 0.1f;
    volatile float expected = product + 1e8f;
    EXPECT_EQ(CellOrigin(world, {3, 0}).x, expected);
}

TEST(GridArithmetic, FindsTheCellUnderAPositionRoundingDown) {
    WorldAsset world;
    EXPECT_EQ(CellAt(world, {-0.5f, 100.0f, 0.0f}), (CellCoord{-1, 0}));
    EXPECT_EQ(CellAt(world, {64.0f, 0.0f, 63.99f}), (CellCoord{1, 0}));
    EXPECT_EQ(CellAt(world, {-64.0f, 0.0f, -64.01f}), (CellCoord{-1, -2}));
}

TEST(GridArithmetic, GuardsAgainstAZeroCellSizeAndHugePositions) {
    WorldAsset world;
    world.cellSize = 0.0f;
    EXPECT_EQ(CellAt(world, {0.0015f, 0.0f, -0.0005f}), (CellCoord{1, -1}));
    world.cellSize = 1.0f;
    EXPECT_EQ(CellAt(world, {1e20f, 0.0f, -1e20f}),
              (CellCoord{std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()}));
    EXPECT_EQ(CellAt(world, {std::nanf(""), 0.0f, 0.0f}), (CellCoord{0, 0}));
}

TEST(GridArithmetic, MeasuresTheDistanceToTheNearestPointOfACell) {
    WorldAsset world;
    EXPECT_EQ(DistanceToCell(world, {0, 0}, {10.0f, 50.0f, 20.0f}), 0.0f);
    EXPECT_EQ(DistanceToCell(world, {0, 0}, {67.0f, 0.0f, 68.0f}), 5.0f);
    EXPECT_EQ(DistanceToCell(world, {0, 0}, {-3.0f, 0.0f, 32.0f}), 3.0f);
    EXPECT_EQ(DistanceToCell(world, {-1, -1}, {0.0f, 0.0f, 0.0f}), 0.0f);
}

TEST(GridArithmetic, SumsTheCellFileSizes) {
    WorldAsset world;
    world.cells = {{{0, 0}, 0, 10, 0, false}, {{1, 0}, 0, 4294967296ull, 0, false}};
    EXPECT_EQ(TotalCellFileBytes(world), 4294967306ull);
    EXPECT_EQ(TotalCellFileBytes(WorldAsset{}), 0u);
}

} // namespace
} // namespace Brelk::WorldGen
