#include "engine/core/TaskSystem.h"
#include "tests/support/Deadline.h"
#include "tools/worldgen/CellRun.h"
#include "tools/worldgen/WorldAsset.h"
#include "tools/worldgen/WorldGenerator.h"
#include "tools/worldgen/tests/WorldFixture.h"

#include <map>
#include <stdexcept>
#include <tuple>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;
using Testing::WriteText;

// Every file under `root` by its relative name, with its bytes.
std::map<std::string, std::string> Snapshot(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& item : fs::recursive_directory_iterator(root)) {
        if (item.is_regular_file()) files[fs::relative(item.path(), root).string()] = ReadText(item.path());
    }
    return files;
}

using ParallelCellsTest = WorldFixture;

// Every run clears what a killed run left behind and keeps only its own cells, whatever the
// number of workers.
TEST_F(ParallelCellsTest, AnyNumberOfWorkersWritesTheSameBytesAndReportsTheFirstFailingCellInGridOrder) {
    WriteText(StagingCellsFolder(WorldPath()) / "cell_50_50.bcell", "half");
    WriteText(RetiredCellsFolder(WorldPath()) / "cell_60_60.bcell", "old");
    WriteText(CellsFolder(WorldPath()) / "cell_70_70.bcell", "stale");
    // An odd, uneven grid, so that runners meet rows of every length.
    ProceduralWorldSettings settings = Grid(5, 3, 5);
    settings.cellsZ = 4;
    // A folder that stands where a cell file must go makes that cell's replace fail: cells 7 and
    // 13 of the grid fail, and a run on one thread stops at 7.
    const fs::path blocked = folder / "cells";
    for (const CellCoord coord : {CellCoord{GridStart(5) + 2, GridStart(4) + 1},
                                  CellCoord{GridStart(5) + 3, GridStart(4) + 2}})
        WriteText(blocked / (CellFileStem(coord) + ".bcell") / "occupied", "x");
    const CellRunPlan plan{.settings = &settings, .assetManager = &assets, .assets = {}, .folder = blocked};
    std::map<std::string, std::string> expected;
    std::tuple<std::uint64_t, std::uint64_t, std::uint64_t> expectedFigures;
    std::string firstError;
    for (const std::uint32_t workers : {0u, 1u, 2u, 8u}) {
        Testing::RunWithDeadline(Testing::kDeadline, [&] {
            const Core::Tasks::ScopedTaskSystem pool(Core::Tasks::TaskSystemConfig{workers, 1, std::nullopt});
            WorldGenerationResult result;
            std::string error;
            ASSERT_TRUE(GenerateProceduralWorld(assets, WorldPath(), settings, &result, &error)) << error;
            std::map<std::string, std::string> files = Snapshot(WorldPath().parent_path());
            files.erase("Procedural.bworld.bmeta"); // its Guid is new with each content folder
            const auto figures = std::tuple(result.entityCount, result.cellFileBytes, result.residentBytes);
            if (expected.empty()) expected = files, expectedFigures = figures;
            EXPECT_EQ(files, expected) << workers << " workers";
            EXPECT_EQ(figures, expectedFigures) << workers << " workers";

            const CellRunOutcome outcome = RunCells(plan, {});
            ASSERT_FALSE(outcome.Succeeded());
            if (firstError.empty()) firstError = outcome.error;
            EXPECT_EQ(outcome.error, firstError) << workers << " workers";
            EXPECT_NE(outcome.error.find("cell_0_-1.bcell"), std::string::npos) << outcome.error;
            for (const std::string& name : Testing::ListFiles(blocked)) EXPECT_FALSE(name.ends_with(".tmp")) << name;
        });
    }
    EXPECT_EQ(expected.size(), 20u + 1u); // no left-over of the killed run
    EXPECT_FALSE(fs::exists(RetiredCellsFolder(WorldPath())));
}

// The calling thread's progress call fails part of the way through a grid larger than the
// world there is.
TEST_F(ParallelCellsTest, AFailedRunLeavesThePreviousWorld) {
    std::string error;
    ASSERT_TRUE(GenerateProceduralWorld(assets, WorldPath(), Grid(2), nullptr, &error)) << error;
    const std::map<std::string, std::string> before = Snapshot(WorldPath().parent_path());
    const GenerationProgressFn failing = [](const GenerationProgress& progress) {
        if (progress.cellsDone >= 3) throw std::runtime_error("interrupted");
    };
    for (const std::uint32_t workers : {0u, 2u}) {
        Testing::RunWithDeadline(Testing::kDeadline, [&] {
            const Core::Tasks::ScopedTaskSystem pool(Core::Tasks::TaskSystemConfig{workers, 1, std::nullopt});
            EXPECT_THROW((void)GenerateProceduralWorld(assets, WorldPath(), Grid(6), nullptr, &error, failing),
                         std::runtime_error);
        });
        EXPECT_EQ(Snapshot(WorldPath().parent_path()), before) << workers << " workers";
        EXPECT_FALSE(fs::exists(StagingCellsFolder(WorldPath())));
    }
}

} // namespace
} // namespace Brelk::WorldGen
