#include "tools/worldgen/WorldAsset.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

// Unsorted cells at the limits of every field, and floats that need all nine digits.
WorldAsset SampleWorld() {
    WorldAsset world;
    world.cellSize = 0.1f;
    world.originX = -3.4028235e38f;
    world.originZ = 7.0064923e-45f;
    world.navigation = true;
    world.cells = {
        {{5, 2}, 41, 123456, 1, false},
        {{-1, 0}, 4, 4294967296ull * 3, 1, true},
        {{-12, -12}, 0, kUnknownCellFileBytes, 0, false},
        {{7, -12}, 4294967295u, 0, 4294967295u, true},
    };
    return world;
}

TEST(WorldAssetFile, WritesTheCellsSortedAndReadsEveryFieldBackBitForBit) {
    ScratchFolder folder;
    const fs::path path = folder / "Worlds/Procedural.bworld";
    std::string error;
    ASSERT_TRUE(WriteWorldAsset(path, SampleWorld(), &error)) << error;
    EXPECT_EQ(ReadText(path), "brelk_world 1\n"
                              "cell_size 0.100000001\n"
                              "origin -3.40282347e+38 7.00649232e-45\n"
                              "navigation 1\n"
                              "cell -12 -12 0 18446744073709551615 0 0\n"
                              "cell 7 -12 4294967295 0 4294967295 1\n"
                              "cell -1 0 4 12884901888 1 1\n"
                              "cell 5 2 41 123456 1 0\n");
    WorldAsset read;
    ASSERT_TRUE(ReadWorldAsset(path, read, &error)) << error;
    WorldAsset sorted = SampleWorld();
    SortCells(sorted.cells);
    EXPECT_EQ(read, sorted);
}

// The canonical text of what `text` reads as, or the error; a failed read must leave the
// defaults, and the reader sorts itself, stably, so the canonical text reads as the same cells.
std::string Parsed(std::string_view text) {
    WorldAsset world, again;
    std::string error;
    if (!ParseWorldAssetText(text, "w.bworld", world, &error))
        return world == WorldAsset{} ? error : error + " (and the world changed)";
    const std::string canonical = FormatWorldAssetText(world);
    const bool same = ParseWorldAssetText(canonical, "w", again, nullptr) && again == world;
    return same ? canonical : canonical + "(reads back as other cells)";
}

TEST(WorldAssetText, ReadsEachTextIntoSortedCellsOrReportsItExactly) {
    Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "WorldTexts.txt",
                             [](const Testing::TextCase& c) { return Parsed(c.input); });
    // Blank lines of carriage returns and spaces, and a last line without its end. The last head
    // record wins, wherever it stands; every cell adds.
    EXPECT_EQ(Parsed("\n\n# only comments\n\r\n"), "Not a world file: w.bworld");
    EXPECT_EQ(Parsed("  \nbrelk_world 1\n"), "Invalid world file w.bworld at line 1.");
    EXPECT_EQ(Parsed("brelk_world 1\r\ncell 2 0 1 1 1 0\r\ncell_size 8\norigin 1 2\nnavigation 5\n\r\n   \ncell_size 16\n"
                     "origin 3 4\nnavigation 0\ncell 1 0 1 1 1 0\ncell 1 0 2 2 2 0\ncell_size 2"),
              "brelk_world 1\ncell_size 2\norigin 3 4\nnavigation 0\ncell 1 0 1 1 1 0\ncell 1 0 2 2 2 0\ncell 2 0 1 1 1 0\n");
}

// The reader names the path and resets the world; the writer names the folder it could not
// make. A blocked replacement is the tool's to report.
TEST(WorldAssetFile, FailuresNameThePathAndAFailedReadResetsTheWorld) {
    ScratchFolder folder;
    WriteText(folder / "broken.bworld", "brelk_world 1\ncell 1\n");
    const std::pair<fs::path, std::string> table[] = {
        {folder / "missing.bworld", "Failed to open " + (folder / "missing.bworld").string()},
        {folder / "broken.bworld", "Invalid world file " + (folder / "broken.bworld").string() + " at line 2."},
    };
    for (const auto& [path, message] : table) {
        WorldAsset world = SampleWorld();
        std::string error;
        EXPECT_FALSE(ReadWorldAsset(path, world, &error));
        EXPECT_EQ(error, message);
        EXPECT_EQ(world, WorldAsset{});
        EXPECT_FALSE(ReadWorldAsset(path, world, nullptr));
    }
    std::string error;
    EXPECT_FALSE(WriteWorldAsset(folder / "broken.bworld/w.bworld", WorldAsset{}, &error));
    EXPECT_EQ(error.rfind("Failed to create " + (folder / "broken.bworld").string() + ": ", 0), 0u) << error;
}

TEST(GridArithmetic, PlacesFindsAndMeasuresCellsAndSumsTheirFiles) {
    WorldAsset world;
    world.originX = 10.0f;
    world.originZ = -5.0f;
    EXPECT_EQ(CellOrigin(world, {-12, 3}), glm::vec2(-758.0f, 187.0f));
    EXPECT_EQ(CellOuterCorner(world, {-12, 3}), glm::vec2(-694.0f, 251.0f));
    world = WorldAsset{};
    EXPECT_EQ(DistanceToCell(world, {0, 0}, {10.0f, 50.0f, 20.0f}), 0.0f);
    EXPECT_EQ(DistanceToCell(world, {0, 0}, {67.0f, 0.0f, 68.0f}), 5.0f);
    EXPECT_EQ(DistanceToCell(world, {0, 0}, {-3.0f, 0.0f, 32.0f}), 3.0f);
    EXPECT_EQ(CellAt(world, {-0.5f, 100.0f, 0.0f}), (CellCoord{-1, 0}));
    EXPECT_EQ(CellAt(world, {64.0f, 0.0f, -64.01f}), (CellCoord{1, -2}));
    EXPECT_EQ(CellAt(world, {std::nanf(""), 0.0f, 0.0f}), (CellCoord{0, 0}));
    world.cellSize = 1.0f;
    EXPECT_EQ(CellAt(world, {1e20f, 0.0f, -1e20f}),
              (CellCoord{std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()}));
    world.cellSize = 0.0f; // guarded as one millimetre
    EXPECT_EQ(CellAt(world, {0.0015f, 0.0f, -0.0005f}), (CellCoord{1, -1}));
    world.cells = {{{0, 0}, 0, 10, 0, false}, {{1, 0}, 0, 4294967296ull, 0, false}};
    EXPECT_EQ(TotalCellFileBytes(world), 4294967306ull);
}

} // namespace
} // namespace Brelk::WorldGen
