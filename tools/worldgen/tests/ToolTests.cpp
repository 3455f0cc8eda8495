#include "tools/worldgen/Tool.h"

#include "engine/assets/shaders/MaterialTemplates.h"
#include "engine/assets/shaders/ShaderStamps.h"
#include "engine/platform/Folders.h"
#include "tests/support/TextCases.h"
#include "tools/worldgen/ProgressLine.h"

#include <gmock/gmock.h>

#include <sstream>
#include <tuple>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Testing::ScratchFolder;

// Status, standard output and standard error of one run.
std::tuple<int, std::string, std::string> RunTool(const std::vector<std::string>& args, bool showProgress = false) {
    std::ostringstream out, err;
    const int status = RunWorldGenTool(args, out, err, showProgress);
    return {status, out.str(), err.str()};
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
    for (const auto& c : table) EXPECT_EQ(RunTool(c.args), std::tuple(c.status, "", c.err)) << c.err;
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
    const auto [status, out, err] =
        RunTool({"--content", (folder / "Content").string(), "--world", world.string(), "--cells", "1x", "--props", "3",
                 "--scene", "S.bscene", "--memory-budget-mb", "0.001"},
                true);
    ASSERT_EQ(status, 0) << err;
    // The budget is only reported.
    EXPECT_EQ(out.rfind("World " + world.string() + ": 1 cells, 4 entities, ", 0), 0u) << out;
    EXPECT_NE(out.find(" MB estimated resident when fully loaded; memory budget 0.001 MB. Scene " +
                       (folder / "Content/S.bscene").string() + "\n"),
              std::string::npos);
    EXPECT_TRUE(fs::is_regular_file(folder / "Elsewhere/Big.bworld.cells/cell_0_0.bcell"));
    EXPECT_TRUE(fs::is_regular_file(folder / "Content/S.bscene"));
    EXPECT_FALSE(fs::exists(folder / "Content/Worlds"));
    EXPECT_EQ(err.rfind("\rCells 1/1, ", 0), 0u) << err;
    EXPECT_EQ(err.substr(err.size() - 3), "  \r");
}

TEST(FormatSummaryLine, WritesSixSignificantDigits) {
    const WorldGenerationResult result{"", 576, 23616, 123456789, 1ull << 40};
    Scene::WorldPartitionComponent partition = DefaultPartition();
    partition.memoryBudgetMegabytes = 0.1f;
    EXPECT_EQ(FormatSummaryLine("/c/W.bworld", result, partition, "/c/S.bscene"),
              "World /c/W.bworld: 576 cells, 23616 entities, 117.738 MB of cell files, 1.04858e+06 MB estimated "
              "resident when fully loaded; memory budget 0.1 MB. Scene /c/S.bscene\n");
}

TEST(ProgressLine, FormatsCellsMegabytesTimeAndWhatIsLeftAndRedrawsInPlace) {
    const struct {
        GenerationProgress progress;
        std::chrono::milliseconds elapsed;
        const char* text;
    } rows[] = {
        {{0, 576, 0}, 0ms, "Cells 0/576, 0.0 MB, 0.0 s"},
        {{144, 576, 15728640}, 1500ms, "Cells 144/576, 15.0 MB, 1.5 s, about 4.5 s left"},
        {{576, 576, 60293120}, 4250ms, "Cells 576/576, 57.5 MB, 4.2 s"},
    };
    for (const auto& row : rows) EXPECT_EQ(ProgressLine::Format(row.progress, row.elapsed), row.text);

    // Redrawn in place at most ten times a second, and erased.
    std::ostringstream terminal;
    const ProgressLine::Clock::time_point start{};
    ProgressLine line(terminal, start);
    line.Update({10, 100, 0}, start + 1000ms);
    line.Update({11, 100, 0}, start + 1050ms); // too soon: not drawn
    line.Update({9, 1000, 0}, start + 1100ms);
    line.Erase();
    const std::string first = "Cells 10/100, 0.0 MB, 1.0 s, about 9.0 s left";
    const std::string second = "Cells 9/1000, 0.0 MB, 1.1 s, about 121.1 s left";
    EXPECT_EQ(terminal.str(), "\r" + first + "\r" + second + "\r" + std::string(second.size(), ' ') + "\r");
}

// The build stages the templates beside the tool, and the lookup must find them there.
TEST(ShaderTemplateInstall, TheToolFindsAllTemplatesBesideItself) {
    const std::filesystem::path folder = Assets::LocateShaderFolder();
    EXPECT_EQ(folder, Platform::GetExecutableFolder() / "Assets" / "Shaders");
    EXPECT_THAT(Testing::ListFiles(folder), ::testing::UnorderedElementsAreArray(Assets::MaterialTemplateFiles()));
    EXPECT_NE(Assets::TemplateStamp(), Assets::ComputeTemplateStamp({}));
}

} // namespace
} // namespace Brelk::WorldGen
