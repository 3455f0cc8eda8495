#include "tools/worldgen/Tool.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ScratchFolder;

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

ToolRun RunTool(std::vector<std::string> args, bool showProgress = false) {
    std::ostringstream out;
    std::ostringstream err;
    ToolRun run;
    run.status = RunWorldGenTool(args, out, err, showProgress);
    run.out = out.str();
    run.err = err.str();
    return run;
}

// A bad command line writes nothing: the usage and status 2, or one message and status 1 for
// what the parse throws and for a grid the generator refuses.
TEST(RunWorldGenTool, RefusesABadCommandLineAndWritesNothing) {
    ScratchFolder folder;
    const std::string content = (folder / "Content").string();
    const std::string other = (folder / "Other").string();
    const struct {
        std::vector<std::string> args;
        int status;
        std::string err;
    } table[] = {
        {{}, 2, std::string(kUsageText)},
        {{"--content", content, "stray"}, 2, std::string(kUsageText)},
        {{"--cells", "3", "--content"}, 1, "brelk-worldgen: missing value for --content\n"},
        {{"--content", other, "--cells", "-4"}, 1,
         "brelk-worldgen: The world needs at least one cell and a positive cell size.\n"},
    };
    for (const auto& c : table) {
        const ToolRun run = RunTool(c.args);
        EXPECT_EQ(run.status, c.status) << c.err;
        EXPECT_EQ(run.err, c.err);
        EXPECT_EQ(run.out, "");
    }
    Testing::ExpectGoldenText(fs::path(BRELK_TEST_DATA_DIR) / "Usage.txt", kUsageText);
    EXPECT_FALSE(fs::exists(content));
    EXPECT_FALSE(fs::exists(folder / "Other/Worlds"));
    EXPECT_FALSE(fs::exists(folder / "Other/Scenes"));
}

// A relative scene goes below the content folder and an absolute world anywhere. On a terminal
// the progress line goes to the error stream and is erased before the summary.
TEST(RunWorldGenTool, WritesTheWorldAndSceneAndPrintsTheSummaryAfterTheProgressLine) {
    ScratchFolder folder;
    const fs::path world = folder / "Elsewhere/Big.bworld";
    const ToolRun run = RunTool({"--content", (folder / "Content").string(), "--world", world.string(), "--cells", "1x",
                                 "--props", "3", "--scene", "S.bscene", "--memory-budget-mb", "0.001"},
                                true);
    ASSERT_EQ(run.status, 0) << run.err;
    // The budget is only reported.
    EXPECT_EQ(run.out.rfind("World " + world.string() + ": 1 cells, 4 entities, ", 0), 0u) << run.out;
    EXPECT_NE(run.out.find(" MB estimated resident when fully loaded; memory budget 0.001 MB. Scene " +
                           (folder / "Content/S.bscene").string() + "\n"),
              std::string::npos);
    EXPECT_TRUE(fs::is_regular_file(folder / "Elsewhere/Big.bworld.cells/cell_0_0.bcell"));
    EXPECT_TRUE(fs::is_regular_file(folder / "Content/S.bscene"));
    EXPECT_FALSE(fs::exists(folder / "Content/Worlds"));
    EXPECT_EQ(run.err.rfind("\rCells 1/1, ", 0), 0u) << run.err;
    EXPECT_EQ(run.err.substr(run.err.size() - 3), "  \r");
}

TEST(RunWorldGenTool, ReportsAWorldThatCannotBeWritten) {
    ScratchFolder folder;
    const fs::path world = folder / "w.bworld";
    fs::create_directories(world / "inside");
    const ToolRun run = RunTool({"--content", folder.Path().string(), "--world", world.string(), "--cells", "1"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err.rfind("brelk-worldgen: Failed to replace " + world.string() + ": ", 0), 0u) << run.err;
    EXPECT_EQ(run.out, "");
}

TEST(FormatSummaryLine, WritesSixSignificantDigits) {
    WorldGenerationResult result;
    result.cellCount = 576;
    result.entityCount = 23616;
    result.cellFileBytes = 123456789;
    result.residentBytes = 1ull << 40;
    Scene::WorldPartitionComponent partition = DefaultPartition();
    partition.memoryBudgetMegabytes = 0.1f;
    EXPECT_EQ(FormatSummaryLine("/c/W.bworld", result, partition, "/c/S.bscene"),
              "World /c/W.bworld: 576 cells, 23616 entities, 117.738 MB of cell files, 1.04858e+06 MB estimated "
              "resident when fully loaded; memory budget 0.1 MB. Scene /c/S.bscene\n");
}

} // namespace
} // namespace Brelk::WorldGen
