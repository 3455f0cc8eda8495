#include "tools/worldview/tests/ViewFixture.h"

#include "engine/scene/CookedScene.h"
#include "tools/worldview/WorldCheck.h"

#include <gmock/gmock.h>

namespace Brelk::WorldView {
namespace {

using Testing::ReadText;
using Testing::WriteText;

void Rewrite(const std::filesystem::path& path, const std::string& from, const std::string& to) {
    std::string text = ReadText(path);
    const std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    WriteText(path, text.replace(at, from.size(), to));
}

std::string ListedBytes(const std::filesystem::path& world, WorldGen::CellCoord coord) {
    WorldGen::WorldAsset asset;
    EXPECT_TRUE(WorldGen::ReadWorldAsset(world, asset, nullptr));
    for (const WorldGen::WorldCellEntry& cell : asset.cells) {
        if (cell.coord == coord) return std::to_string(cell.fileBytes);
    }
    return "?";
}

// Replaces a text cell by its cooked form and lists the cooked size in the world asset.
void Cook(const std::filesystem::path& world, const std::filesystem::path& cell, std::size_t flipAt) {
    std::vector<std::uint8_t> bytes;
    std::string error;
    ASSERT_TRUE(Scene::CookSceneFile(cell, bytes, &error)) << error;
    if (flipAt < bytes.size()) bytes[flipAt] ^= 0x5a;
    const std::string listed = ListedBytes(world, {0, 0});
    WriteText(cell, std::string(bytes.begin(), bytes.end()));
    Rewrite(world, "cell 0 0 3 " + listed, "cell 0 0 3 " + std::to_string(bytes.size()));
}

class WorldCheckTest : public ViewFixture {
protected:
    std::string ProblemLines(const std::vector<std::string>& problems) const {
        std::string text;
        for (const std::string& problem : problems) text += "brelk-worldview: " + problem + "\n";
        text += "brelk-worldview: World " + WorldPath().string() + ": " + std::to_string(problems.size()) +
                (problems.size() == 1 ? " problem.\n" : " problems.\n");
        return text;
    }
};

TEST_F(WorldCheckTest, AGeneratedWorldChecksCleanAlsoWithACookedCellWhoseSizeIsListed) {
    const Run run = View();
    EXPECT_EQ(std::tie(run.status, run.err), std::tuple(kViewExitDone, ""));
    EXPECT_THAT(run.out, ::testing::StartsWith("World " + WorldPath().string() + ": 4 cells, 12 entities, "));
    Cook(WorldPath(), Cell(0, 0), ~std::size_t{0});
    const Run cooked = View();
    EXPECT_EQ(std::tie(cooked.status, cooked.err), std::tuple(kViewExitDone, ""));
}

namespace fs = std::filesystem;
using Problems = std::vector<std::string>;

struct Damage {
    const char* name;
    // Damages the world and gives the problems that the tool must report.
    Problems (*apply)(const fs::path& world);
};

const Damage kDamages[] = {
    {"Deleted", [](const fs::path& world) -> Problems {
         std::filesystem::remove(WorldGen::CellFilePath(world, {0, 0}));
         return {"cell_0_0 (0, 0): missing from the cells folder"};
     }},
    {"Truncated", [](const fs::path& world) -> Problems {
         const std::filesystem::path cell = WorldGen::CellFilePath(world, {0, -1});
         WriteText(cell, ReadText(cell).substr(0, 2000));
         return {"cell_0_-1 (0, -1): 2000 bytes, the world asset says " + ListedBytes(world, {0, -1}),
                 "cell_0_-1 (0, -1): Failed to parse scene file at line 57: Incomplete component schema header."};
     }},
    {"TooLarge", [](const fs::path& world) -> Problems {
         std::filesystem::resize_file(WorldGen::CellFilePath(world, {-1, 0}), kMaxCellFileBytes + 1);
         return {"cell_-1_0 (-1, 0): 268435457 bytes, more than a cell file may hold (268435456)"};
     }},
    {"WrongEntityCount", [](const fs::path& world) -> Problems {
         Rewrite(world, "cell -1 0 3 ", "cell -1 0 4 ");
         return {"cell_-1_0 (-1, 0): 3 top-level entities, the world asset says 4"};
     }},
    {"TerrainNotListed", [](const fs::path& world) -> Problems {
         const std::string listed = ListedBytes(world, {-1, -1});
         Rewrite(world, "cell -1 -1 3 " + listed + " 1", "cell -1 -1 3 " + listed + " 0");
         return {"cell_-1_-1 (-1, -1): has a terrain that the world asset does not list"};
     }},
    {"ListedTwice", [](const fs::path& world) -> Problems {
         WriteText(world, ReadText(world) + "cell 0 0 3 " + ListedBytes(world, {0, 0}) + " 1 0\n");
         return {"cell_0_0 (0, 0): listed more than once in the world asset"};
     }},
    {"ExtraCell", [](const fs::path& world) -> Problems {
         std::filesystem::copy_file(WorldGen::CellFilePath(world, {0, 0}), WorldGen::CellFilePath(world, {5, -7}));
         WriteText(WorldGen::CellsFolder(world) / "cell_05_1.bcell", "");
         WriteText(WorldGen::CellsFolder(world) / "notes.txt", "not a cell file at all");
         return {"cell_05_1.bcell: not named like a cell, \"cell_<x>_<z>.bcell\"",
                 "cell_5_-7 (5, -7): not listed in the world asset"};
     }},
    {"CorruptCookedCell", [](const fs::path& world) -> Problems {
         const std::filesystem::path cell = WorldGen::CellFilePath(world, {0, 0});
         Cook(world, cell, 200);
         return {"cell_0_0 (0, 0): Invalid cooked file " + cell.string() + ": checksum mismatch (corrupt file)."};
     }},
};

class DamagedWorldTest : public WorldCheckTest, public ::testing::WithParamInterface<Damage> {};

TEST_P(DamagedWorldTest, ReportsEachProblemWithItsCellAndFails) {
    const std::vector<std::string> problems = GetParam().apply(WorldPath());
    const Run run = View();
    EXPECT_EQ(run.status, kViewExitError);
    EXPECT_EQ(run.err, ProblemLines(problems));
    EXPECT_EQ(run.out, "");
}

INSTANTIATE_TEST_SUITE_P(Damages, DamagedWorldTest, ::testing::ValuesIn(kDamages),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(WorldCheckTest, KeepsTheFirstHundredProblemsAndCountsTheRest) {
    std::string text = "brelk_world 1\n";
    for (int x = 0; x < 130; ++x) text += "cell " + std::to_string(x) + " 40 1 10 0 0\n";
    WriteText(WorldPath(), text);
    const Run run = View();
    EXPECT_EQ(run.status, kViewExitError);
    EXPECT_THAT(run.err, ::testing::StartsWith("brelk-worldview: cell_0_40 (0, 40): missing from the cells folder\n"));
    EXPECT_THAT(run.err, ::testing::HasSubstr("brelk-worldview: cell_99_40 (99, 40): missing from the cells folder\n"
                                              "brelk-worldview: and 34 more problems\n"
                                              "brelk-worldview: World " +
                                              WorldPath().string() + ": 134 problems.\n"));
}

TEST_F(WorldCheckTest, AnUnreadableWorldAssetIsOneErrorLine) {
    WriteText(WorldPath(), "cell_size 64\n");
    const Run run = View();
    EXPECT_EQ(run.status, kViewExitError);
    EXPECT_EQ(run.err, "brelk-worldview: Invalid world file " + WorldPath().string() + " at line 1.\n");
}

} // namespace
} // namespace Brelk::WorldView
