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

constexpr std::string_view kEmptyWorldText = "brelk_world 1\ncell_size 64\norigin 0 0\nnavigation 0\n";

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
    EXPECT_EQ(FormatWorldAssetText(WorldAsset{}), kEmptyWorldText);
}

TEST(WorldAssetText, ReadsLenientInputIntoSortedCellsInTheirFileOrder) {
    struct Case {
        std::string_view text;
        std::string cells; // the canonical text behind the four head lines
        std::string_view head = kEmptyWorldText;
    };
    const Case table[] = {
        // A minus sign wraps in unsigned fields; any navigation but 0 is on.
        {"brelk_world 1\ncell 0 0 -1 -1 -0 7\n", "cell 0 0 4294967295 18446744073709551615 0 1\n"},
        // The last head record wins, wherever it stands; every cell adds.
        {"brelk_world 1\r\ncell 2 0 1 1 1 0\r\ncell_size 8\norigin 1 2\nnavigation 5\n\r\ncell_size 16\norigin 3 4\n"
         "navigation 0\ncell 1 0 1 1 1 0\ncell 1 0 2 2 2 0\ncell_size 2",
         "cell 1 0 1 1 1 0\ncell 1 0 2 2 2 0\ncell 2 0 1 1 1 0\n", "brelk_world 1\ncell_size 2\norigin 3 4\nnavigation 0\n"},
        // By z, then x, as signed values; rows of one cell keep their order.
        {"brelk_world 1\ncell 1 1 0 0 0 0\ncell 0 0 3 0 0 0\ncell -1 1 0 0 0 0\ncell 5 -2 0 0 0 0\ncell 0 0 1 0 0 0\n"
         "cell -1 0 9 0 0 0\n",
         "cell 5 -2 0 0 0 0\ncell -1 0 9 0 0 0\ncell 0 0 3 0 0 0\ncell 0 0 1 0 0 0\ncell -1 1 0 0 0 0\n"
         "cell 1 1 0 0 0 0\n"},
        {"# made by hand\nbrelk_world 1 extra\nfuture_record 1 2 3\n# x\ncell_size 12abc\n   \ncell 1 2 3 4 5 6 7 8\n",
         "cell 1 2 3 4 5 1\n", "brelk_world 1\ncell_size 12\norigin 0 0\nnavigation 0\n"},
    };
    for (const Case& c : table) {
        WorldAsset world;
        std::string error;
        ASSERT_TRUE(ParseWorldAssetText(c.text, "w", world, &error)) << c.text << error;
        EXPECT_EQ(FormatWorldAssetText(world), std::string(c.head) + c.cells) << c.text;
        // The reader sorts itself, stably: reading the canonical text gives the same cells.
        WorldAsset again;
        ASSERT_TRUE(ParseWorldAssetText(FormatWorldAssetText(world), "w", again, nullptr));
        EXPECT_EQ(again, world) << c.text;
    }
}

TEST(WorldAssetText, ReportsEachBrokenInputExactly) {
    const std::string head = "brelk_world 1\n";
    const struct {
        std::string text;
        int line; // 0: not a world file at all
    } table[] = {
        {"", 0}, {"# note\n", 0}, {"\n\n# only comments\n\r\n", 0}, {"cell_size 64\n", 1}, {"brelk_world 2\n", 1},
        {"brelk_world\n", 1}, {"brelk_world x1\n", 1}, {"# comment\n\nbrelk_world 0\n", 3},
        {"unknown 1\n" + head, 1}, {"  \n" + head, 1}, {" # indented comment\n" + head, 1},
        {head + "cell_size 0\n", 2}, {head + "cell_size -1\n", 2}, {head + "cell_size 1e39\n", 2},
        {head + "cell_size inf\n", 2}, {head + "cell_size nan\n", 2}, {head + "cell_size 1e-50\n", 2},
        {head + "cell_size\n", 2}, {head + "origin 1\n", 2}, {head + "origin 1 1e\n", 2},
        {head + "navigation yes\n", 2}, {head + "navigation 2147483648\n", 2}, {head + "\ncell 1 2 3\n", 3},
        {head + "cell 2147483648 0 0 0 0 0\n", 2}, {head + "cell 0 0 4294967296 0 0 0\n", 2},
        {head + "cell 0 0 0 18446744073709551616 0 0\n", 2}, {head + "cell 0 0 0 5x 0 0\n", 2},
        {head + "cell 0 0 0 0 0 -\n", 2}, {head + "cell 1 1 1 1 1 1\nbrelk_world 3\n", 3},
    };
    for (const auto& broken : table) {
        WorldAsset world;
        std::string error;
        EXPECT_FALSE(ParseWorldAssetText(broken.text, "w.bworld", world, &error)) << broken.text;
        EXPECT_EQ(error, broken.line == 0 ? std::string("Not a world file: w.bworld")
                                          : "Invalid world file w.bworld at line " + std::to_string(broken.line) + ".")
            << broken.text;
        EXPECT_EQ(world, WorldAsset{}) << "a failed read must leave the defaults";
    }
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
